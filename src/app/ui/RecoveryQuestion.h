#pragma once

#include <QString>

class QWidget;

namespace qf {

class Quillfen_AppDelegate;
struct RecordChange;
class UnsavedChanges;

// The question at start when the last session ended without saving and kept
// its changes in the recovery file: apply them, or set them aside.
class RecoveryQuestion {
public:
    // Does nothing when no recovery file waits. A file that does not read is
    // reported and left where it is; so is one whose question was not answered.
    static void ask(QWidget* parent, Quillfen_AppDelegate& delegate);

    // One line per change, at most maxLines, the rest counted on a last line.
    static QString describe(const UnsavedChanges& changes, Quillfen_AppDelegate& delegate, int maxLines = 6);
};

} // namespace qf
