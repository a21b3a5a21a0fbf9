#include "store/UndoManager.h"

#include <gtest/gtest.h>

using namespace qf;

namespace {

// A value whose every change registers its inverse, as record writes do.
struct Counter {
    UndoManager& undo;
    int value = 0;

    void set(int v)
    {
        const int old = value;
        undo.registerUndo([this, old] { set(old); });
        value = v;
    }
};

} // namespace

TEST(UndoManager, StepsOfOneEventFormOneGroupAndRedoRestores)
{
    UndoManager undo;
    Counter c{undo};
    c.set(1);
    c.set(2);
    undo.closeOpenGroup();
    c.set(3);
    undo.closeOpenGroup();
    EXPECT_EQ(undo.groupingLevel(), 0);

    undo.undo();
    EXPECT_EQ(c.value, 2);
    undo.undo(); // both steps of the first event at once
    EXPECT_EQ(c.value, 0);
    EXPECT_FALSE(undo.canUndo());
    ASSERT_TRUE(undo.canRedo());

    undo.redo();
    EXPECT_EQ(c.value, 2);
    undo.redo();
    EXPECT_EQ(c.value, 3);
    EXPECT_FALSE(undo.canRedo());
    undo.undo();
    EXPECT_EQ(c.value, 2);

    // A new step forgets what could have been redone.
    c.set(7);
    EXPECT_FALSE(undo.canRedo());
    undo.undo(); // closes the open group first
    EXPECT_EQ(c.value, 2);
}

TEST(UndoManager, ExplicitNestedGroupsUndoAsOne)
{
    UndoManager undo;
    undo.setGroupsByEvent(false);
    Counter c{undo};
    undo.beginUndoGrouping();
    c.set(1);
    undo.beginUndoGrouping();
    c.set(2);
    undo.endUndoGrouping();
    EXPECT_EQ(undo.groupingLevel(), 1);
    c.set(3);
    undo.endUndoGrouping();
    undo.endUndoGrouping(); // unbalanced end is ignored
    EXPECT_EQ(undo.groupingLevel(), 0);

    c.set(4); // outside any group and not grouping by event: a group of its own
    c.set(5);
    undo.undo();
    EXPECT_EQ(c.value, 4);
    undo.undo();
    EXPECT_EQ(c.value, 3);
    undo.undo();
    EXPECT_EQ(c.value, 0);

    // An empty group leaves nothing to undo.
    undo.removeAllActions();
    undo.beginUndoGrouping();
    undo.endUndoGrouping();
    EXPECT_FALSE(undo.canUndo());
    EXPECT_FALSE(undo.canRedo());
}

TEST(UndoManager, DisabledRegistrationNestsAndRecordsNothing)
{
    UndoManager undo;
    Counter c{undo};
    undo.disableUndoRegistration();
    undo.disableUndoRegistration();
    c.set(1);
    undo.enableUndoRegistration();
    EXPECT_FALSE(undo.isUndoRegistrationEnabled());
    c.set(2);
    undo.enableUndoRegistration();
    undo.enableUndoRegistration(); // one too many is harmless
    EXPECT_TRUE(undo.isUndoRegistrationEnabled());
    EXPECT_FALSE(undo.canUndo());

    c.set(3);
    undo.disableUndoRegistration();
    undo.undo(); // the undone step cannot register its redo now
    undo.enableUndoRegistration();
    EXPECT_EQ(c.value, 2);
    EXPECT_FALSE(undo.canRedo());
}
