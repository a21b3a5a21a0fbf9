#include "app/ui/DatabaseBackup.h"

#include "app/DatabasePackage.h"
#include "app/Quillfen_AppDelegate.h"
#include "common/Trash.h"

#include <QApplication>
#include <QDialog>
#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QThread>
#include <QVBoxLayout>

namespace qf {

DatabaseBackup::DatabaseBackup(Quillfen_AppDelegate& delegate, QWidget& window)
    : QObject(&window), m_delegate(delegate), m_window(window)
{
    // The same program with the same options (another data folder, say).
    m_restart = [this] {
        m_delegate.restartWithoutSaving(QCoreApplication::applicationFilePath(), QCoreApplication::arguments().mid(1));
    };
}

void DatabaseBackup::openProgressPanelWithStatus(const QString& status)
{
    if (!m_progress) {
        m_progress = new QDialog(&m_window, Qt::Sheet);
        m_progress->setObjectName(QStringLiteral("progressPanel"));
        m_progress->setWindowModality(Qt::WindowModal);
        m_status = new QLabel(m_progress);
        m_status->setObjectName(QStringLiteral("progressStatus"));
        auto* bar = new QProgressBar(m_progress);
        bar->setRange(0, 0); // how long a copy takes is not known ahead
        bar->setMinimumWidth(320);
        auto* layout = new QVBoxLayout(m_progress);
        layout->setContentsMargins(20, 18, 20, 18);
        layout->addWidget(m_status);
        layout->addWidget(bar);
    }
    m_status->setText(status);
    m_progress->show();
    m_progress->raise();
}

void DatabaseBackup::endProgressPanel()
{
    if (m_progress)
        m_progress->hide();
}

template <class T>
T DatabaseBackup::withProgress(const QString& status, const std::function<T()>& work)
{
    openProgressPanelWithStatus(status);
    std::optional<T> result;
    QEventLoop wait;
    // Files only: the copy reads no record, so the window stays live.
    QThread* thread = QThread::create([&result, &work] { result = work(); });
    connect(thread, &QThread::finished, &wait, &QEventLoop::quit);
    thread->start();
    wait.exec(QEventLoop::ExcludeUserInputEvents);
    thread->wait();
    delete thread;
    endProgressPanel();
    return std::move(*result);
}

void DatabaseBackup::showError(const QString& title, const QString& message)
{
    QMessageBox box(QMessageBox::Warning, title, message, QMessageBox::Ok, &m_window);
    box.setWindowModality(Qt::WindowModal);
    box.exec();
}

void DatabaseBackup::exportDatabase()
{
    QString path = QFileDialog::getSaveFileName(&m_window, tr("Export Database"),
                                                QDir::homePath() + QStringLiteral("/Quillfen.") + DatabasePackage::kExtension,
                                                tr("Quillfen database (*.%1)").arg(DatabasePackage::kExtension));
    if (path.isEmpty())
        return;
    (void)exportTo(DatabasePackage::withExtension(path));
}

Status DatabaseBackup::exportTo(const QString& path)
{
    if (QFileInfo::exists(path)) {
        if (const Result<QString> moved = Trash::move(path); !moved) {
            showError(tr("The database was not exported"), moved.message());
            return Status::failure(moved.message());
        }
    }
    const QString folder = m_delegate.applicationSupportFolder();
    const Status written = withProgress<Status>(tr("Performing Backup"), [folder, path] {
        return DatabasePackage::exportFolder(folder, path);
    });
    if (!written)
        showError(tr("The database was not exported"), written.message());
    return written;
}

void DatabaseBackup::importDatabase()
{
    QFileDialog dialog(&m_window, tr("Import Database"), QDir::homePath());
    // A package is a folder that holds the ledger.
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly, true);
    dialog.setNameFilter(tr("Quillfen database (*.%1)").arg(DatabasePackage::kExtension));
    dialog.setLabelText(QFileDialog::Accept, tr("Import"));
    dialog.setWindowModality(Qt::WindowModal);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    (void)importFrom(dialog.selectedFiles().first());
}

DatabaseBackup::ImportOutcome DatabaseBackup::importFrom(const QString& package)
{
    QMessageBox ask(QMessageBox::Warning, tr("Are you sure you want to import?"),
                    tr("Are you sure you want to import?"), QMessageBox::NoButton, &m_window);
    ask.setObjectName(QStringLiteral("importAlert"));
    ask.setInformativeText(tr("Importing a previous database will overwrite your current database. Are you sure you "
                              "want to perform this action?"));
    QPushButton* yes = ask.addButton(tr("Yes"), QMessageBox::AcceptRole);
    ask.addButton(tr("No"), QMessageBox::RejectRole);
    ask.setDefaultButton(yes);
    ask.setWindowModality(Qt::WindowModal);
    ask.exec();
    if (ask.clickedButton() != yes)
        return ImportOutcome::Declined;

    const QString folder = m_delegate.applicationSupportFolder();
    const Result<QString> replaced = withProgress<Result<QString>>(tr("Performing Import"), [package, folder] {
        return DatabasePackage::importPackage(package, folder);
    });
    if (!replaced) {
        showError(tr("The database was not imported"), replaced.message());
        return ImportOutcome::Failed;
    }
    // The open store must not write over the imported files.
    if (m_restart)
        m_restart();
    return ImportOutcome::Imported;
}

} // namespace qf
