#pragma once

#include "common/Result.h"

#include <QObject>
#include <QPointer>
#include <functional>

class QDialog;
class QLabel;
class QWidget;

namespace qf {

class Quillfen_AppDelegate;

// File ▸ Export Database… and Import Database…: the data folder as one
// package, and a package in its place, with a progress sheet while the
// files are copied.
class DatabaseBackup : public QObject {
    Q_OBJECT

public:
    DatabaseBackup(Quillfen_AppDelegate& delegate, QWidget& window);

    // The save dialog, then the export.
    void exportDatabase();
    // Writes the package; a package already there (the dialog asked) goes
    // to the Trash first. Failures are shown and returned.
    Status exportTo(const QString& path);

    // The open dialog, then the import.
    void importDatabase();
    enum class ImportOutcome { Declined, Failed, Imported };
    // Asks first; then the package replaces the data folder and the program
    // starts again without saving. A refused package is shown and changes
    // nothing.
    ImportOutcome importFrom(const QString& package);

    void openProgressPanelWithStatus(const QString& status);
    void endProgressPanel();
    QDialog* progressPanel() const { return m_progress; }

    // What happens after an import; by default the program restarts.
    void setRestartHandler(std::function<void()> restart) { m_restart = std::move(restart); }

private:
    // Runs work on a thread of its own while the progress sheet shows.
    template <class T>
    T withProgress(const QString& status, const std::function<T()>& work);
    void showError(const QString& title, const QString& message);

    Quillfen_AppDelegate& m_delegate;
    QWidget& m_window;
    QPointer<QDialog> m_progress;
    QLabel* m_status = nullptr;
    std::function<void()> m_restart;
};

} // namespace qf
