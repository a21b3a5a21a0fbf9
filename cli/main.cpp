#include "CommandLine.h"
#include "LedgerCli.h"
#include "app/Quillfen_AppDelegate.h"
#include "app/UserDefaults.h"

#include <QCoreApplication>
#include <QTextStream>
#include <cstdio>

using namespace qf;

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quillfen"));
    QCoreApplication::setApplicationName(QStringLiteral("Quillfen"));
    QTextStream out(stdout);
    QTextStream err(stderr);

    QString problem;
    const auto line = cli::CommandLine::parse(
        app.arguments().mid(1),
        {QStringLiteral("example"), QStringLiteral("pending"), QStringLiteral("upcoming"), QStringLiteral("share"),
         QStringLiteral("json"), QStringLiteral("help"), QStringLiteral("yes"), QStringLiteral("cancel"),
         QStringLiteral("again")},
        &problem);
    if (!line) {
        err << "quillfen-cli: " << problem << Qt::endl;
        return cli::BadUsage;
    }
    if (line->has(QStringLiteral("help")) || line->command() == QLatin1String("help")) {
        out << cli::LedgerCli::usage();
        return cli::Success;
    }

    UserDefaults& defaults = UserDefaults::standard();
    defaults.registerDefaults();
    if (line->has(QStringLiteral("locale")))
        defaults.setVolatileValue(DefaultsKey::LocaleIdentifier, line->value(QStringLiteral("locale")));
    if (line->has(QStringLiteral("example")))
        defaults.setVolatileValue(DefaultsKey::UseExampleStore, true);

    Quillfen_AppDelegate delegate;
    // A script indexes what it changed, not the whole ledger.
    delegate.setQuitIndexing(Quillfen_AppDelegate::QuitIndexing::ChangedOnly);
    if (line->has(QStringLiteral("data-dir")))
        delegate.setDataFolderOverride(line->value(QStringLiteral("data-dir")));

    // Global options are the app's; commands must not see them as their own.
    cli::CommandLine commandLine = *line;
    commandLine.removeOptions({QStringLiteral("data-dir"), QStringLiteral("example"), QStringLiteral("locale")});
    // What a command that changes the ledger prints (new ids, counts) is
    // held back until the save has put the change on disk.
    static const QStringList kChangingCommands{QStringLiteral("add-vault"),  QStringLiteral("add"),
                                               QStringLiteral("set"),        QStringLiteral("delete"),
                                               QStringLiteral("edit-smart"), QStringLiteral("smart-view"),
                                               QStringLiteral("import-qif"), QStringLiteral("import-ofx"),
                                               QStringLiteral("budget-edit"), QStringLiteral("budget"),
                                               QStringLiteral("add-bill"),   QStringLiteral("pay"),
                                               QStringLiteral("attach"),     QStringLiteral("detach")};
    const bool changesLedger = kChangingCommands.contains(commandLine.command());
    QString held;
    QTextStream heldOut(&held);
    cli::LedgerCli ledger(delegate, changesLedger ? heldOut : out, err);

    // These work on files, not on an open store: a package is written from
    // what is on disk, and an import must find no connection to the store it
    // replaces.
    static const QStringList kStoreFreeCommands{QStringLiteral("predicate"), QStringLiteral("export-database"),
                                                QStringLiteral("import-database")};
    const bool storeFree = kStoreFreeCommands.contains(commandLine.command());
    if (!storeFree) {
        delegate.managedObjectContext();
        if (delegate.storeError()) {
            err << "quillfen-cli: cannot open the ledger: " << delegate.storeError()->describe() << Qt::endl;
            return cli::Failure;
        }
        delegate.applicationDidFinishLaunching();
    }

    const int code = ledger.run(commandLine);
    if ((code != cli::Success && !ledger.keepsChangesOnFailure()) || storeFree)
        return code; // a failed command writes nothing

    if (delegate.applicationShouldTerminate() != Quillfen_AppDelegate::TerminateReply::Now) {
        const QString why = delegate.saveError() ? delegate.saveError()->describe() : QStringLiteral("unknown error");
        err << "quillfen-cli: could not save the ledger: " << why << Qt::endl;
        return cli::Failure;
    }
    heldOut.flush();
    out << held;
    out.flush();
    delegate.applicationWillTerminate();
    return code;
}
