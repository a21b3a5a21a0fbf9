#pragma once

#include <QString>
#include <functional>
#include <memory>
#include <vector>

namespace qf {

// Undo and redo of store changes, in groups. While registration is disabled
// nothing is recorded (used where opening a form must leave no undo step).
class UndoManager {
public:
    UndoManager();
    ~UndoManager();

    // Records one step; its action undoes it and must itself register the
    // inverse step, which lands on the redo stack while undoing.
    void registerUndo(std::function<void()> action);

    void beginUndoGrouping();
    void endUndoGrouping();
    int groupingLevel() const;
    // When on (the default), steps registered outside an explicit group are
    // collected into one group until closeOpenGroup() (the end of an event).
    void setGroupsByEvent(bool on);
    void closeOpenGroup();

    void disableUndoRegistration();
    void enableUndoRegistration();
    bool isUndoRegistrationEnabled() const;

    bool canUndo() const;
    bool canRedo() const;
    void undo();
    void redo();
    bool isUndoing() const;
    bool isRedoing() const;
    void removeAllActions();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace qf
