#include "store/UndoManager.h"

#include <optional>

namespace qf {

namespace {

using Group = std::vector<std::function<void()>>;

enum class Mode { Normal, Undoing, Redoing };

} // namespace

struct UndoManager::Private {
    std::vector<Group> undoStack;
    std::vector<Group> redoStack;
    std::optional<Group> open; // the outermost group being collected
    int level = 0;
    bool openedByEvent = false;
    bool groupsByEvent = true;
    int disabledCount = 0;
    Mode mode = Mode::Normal;
    Group* inverse = nullptr; // collects the steps registered while undoing or redoing

    void run(std::vector<Group>& from, std::vector<Group>& to, Mode runMode)
    {
        if (from.empty())
            return;
        Group group = std::move(from.back());
        from.pop_back();
        Group collected;
        mode = runMode;
        inverse = &collected;
        // Last registered, first undone: later steps may depend on earlier ones.
        for (auto it = group.rbegin(); it != group.rend(); ++it)
            (*it)();
        inverse = nullptr;
        mode = Mode::Normal;
        if (!collected.empty())
            to.push_back(std::move(collected));
    }
};

UndoManager::UndoManager() : d(std::make_unique<Private>()) {}

UndoManager::~UndoManager() = default;

void UndoManager::registerUndo(std::function<void()> action)
{
    if (d->disabledCount > 0 || !action)
        return;
    if (d->mode != Mode::Normal) {
        d->inverse->push_back(std::move(action));
        return;
    }
    d->redoStack.clear();
    if (d->level == 0) {
        if (!d->groupsByEvent) {
            d->undoStack.push_back(Group{std::move(action)});
            return;
        }
        beginUndoGrouping();
        d->openedByEvent = true;
    }
    d->open->push_back(std::move(action));
}

void UndoManager::beginUndoGrouping()
{
    if (d->mode != Mode::Normal)
        return;
    if (d->level == 0)
        d->open.emplace();
    ++d->level;
}

void UndoManager::endUndoGrouping()
{
    if (d->mode != Mode::Normal || d->level == 0)
        return;
    if (--d->level > 0)
        return;
    // Nested groups fold into the outermost one: undo takes back all of it.
    if (!d->open->empty())
        d->undoStack.push_back(std::move(*d->open));
    d->open.reset();
    d->openedByEvent = false;
}

int UndoManager::groupingLevel() const { return d->level; }

void UndoManager::setGroupsByEvent(bool on) { d->groupsByEvent = on; }

void UndoManager::closeOpenGroup()
{
    if (d->openedByEvent && d->level == 1)
        endUndoGrouping();
}

void UndoManager::disableUndoRegistration() { ++d->disabledCount; }

void UndoManager::enableUndoRegistration()
{
    if (d->disabledCount > 0)
        --d->disabledCount;
}

bool UndoManager::isUndoRegistrationEnabled() const { return d->disabledCount == 0; }

bool UndoManager::canUndo() const { return !d->undoStack.empty() || (d->open && !d->open->empty()); }

bool UndoManager::canRedo() const { return !d->redoStack.empty(); }

void UndoManager::undo()
{
    if (d->mode != Mode::Normal)
        return;
    // Undo acts on whole groups, so whatever is still being collected is closed first.
    while (d->level > 0)
        endUndoGrouping();
    d->run(d->undoStack, d->redoStack, Mode::Undoing);
}

void UndoManager::redo()
{
    if (d->mode != Mode::Normal)
        return;
    while (d->level > 0)
        endUndoGrouping();
    d->run(d->redoStack, d->undoStack, Mode::Redoing);
}

bool UndoManager::isUndoing() const { return d->mode == Mode::Undoing; }

bool UndoManager::isRedoing() const { return d->mode == Mode::Redoing; }

void UndoManager::removeAllActions()
{
    d->undoStack.clear();
    d->redoStack.clear();
    if (d->open)
        d->open->clear();
}

} // namespace qf
