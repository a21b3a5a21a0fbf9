#pragma once

#include "views/ui/FolderController.h"

namespace qf {

// A smart folder's view: the transactions its rules select, with the folder's
// name and sharing above them. Its name belongs to the rules' editor, so the
// pane offers no rename form, and a transaction added here joins no folder.
class SmartFolderController : public FolderController {
public:
    using FolderController::FolderController;

protected:
    ValueDictionary addDefaults() const override { return {}; }
    bool canRename() const override { return false; }
};

} // namespace qf
