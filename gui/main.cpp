#include "app/Quillfen_AppDelegate.h"
#include "app/SingleInstance.h"
#include "app/SoundPlayer.h"
#include "app/UserDefaults.h"
#include "app/ui/LockPanelController.h"
#include "app/ui/MainWindow.h"
#include "app/ui/SystemSoundPlayer.h"

#include <QApplication>
#include <QMessageBox>
#include <QSessionManager>
#include <QStyleFactory>
#include <QTimer>
#include <cstdio>
#include <unistd.h>

using namespace qf;

namespace {

// Without a display Qt would abort with a terse message; say what is wrong.
bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

} // namespace

int main(int argc, char** argv)
{
    if (!hasDisplay()) {
        std::fprintf(stderr, "quillfen: no display to show the window on (DISPLAY and WAYLAND_DISPLAY are not set).\n"
                             "Run it in a desktop session, or use build/bin/quillfen-cli from a shell.\n");
        return 1;
    }
    // The embedded bank site's renderer refuses to run as root inside its
    // sandbox; only then it runs without one.
    if (geteuid() == 0 && !qEnvironmentVariableIsSet("QTWEBENGINE_DISABLE_SANDBOX"))
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Quillfen"));
    QApplication::setApplicationName(QStringLiteral("Quillfen"));
    QApplication::setApplicationVersion(QStringLiteral(QUILLFEN_VERSION));
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));

    UserDefaults::standard().registerDefaults();
    if (QApplication::arguments().contains(QStringLiteral("--example")))
        UserDefaults::standard().setVolatileValue(DefaultsKey::UseExampleStore, true);
    Quillfen_AppDelegate delegate;
    QStringList files;
    for (int i = 1; i < QApplication::arguments().size(); ++i) {
        const QString argument = QApplication::arguments().at(i);
        if (argument == QLatin1String("--data-dir") && i + 1 < QApplication::arguments().size())
            delegate.setDataFolderOverride(QApplication::arguments().at(++i));
        else if (!argument.startsWith(QLatin1String("--")))
            files << argument;
    }

    // A second launch on the same ledger hands its files (search-index
    // files) to the copy running on it.
    SingleInstance instance(SingleInstance::keyForFolder(delegate.applicationSupportFolder()));
    if (instance.handOff(files, 300))
        return 0;
    instance.listen();

    // From here a signal or the session's end saves, even during the load.
    delegate.terminateOnSessionEnd();
    QObject::connect(&app, &QGuiApplication::commitDataRequest, &delegate, [&delegate](QSessionManager&) {
        if (Status saved = delegate.commitData(); !saved)
            qWarning("%s", qPrintable(saved.message()));
    });
    SoundPlayer::setShared(SystemSoundPlayer::create());
    delegate.managedObjectContext();
    if (delegate.storeError()) {
        QMessageBox::critical(nullptr, QObject::tr("Could Not Open the Ledger"), delegate.storeError()->describe());
    }
    delegate.applicationDidFinishLaunching();
    // A script's import or a second process's save shows up without a restart.
    delegate.followStoreChanges();
    delegate.indexTransactionsInBackground();

    MainWindow window(delegate);
    for (const QString& file : files)
        delegate.openFile(file);
    QObject::connect(&instance, &SingleInstance::filesReceived, &window, [&](const QStringList& received) {
        for (const QString& file : received)
            delegate.openFile(file);
        window.show();
        window.raise();
        window.activateWindow();
    });
    window.setupSourceList();
    // Locked before the window first shows, so the ledger never flashes up.
    if (UserDefaults::standard().boolForKey(DefaultsKey::ShouldEncryptDatabase))
        window.lockPanel()->lockDatabase();
    window.show();
    QTimer::singleShot(0, &window, &MainWindow::offerRecoveredChanges);
    const int status = app.exec();
    SoundPlayer::setShared(nullptr);
    return status;
}
