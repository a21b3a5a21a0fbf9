// Stands in for the desktop app in tests that end it from outside: the same
// delegate and session-end handling over the ledger in --data-dir, unsaved
// changes, then "ready" on stdout and the event loop until a signal ends it.
//
//   session-probe --data-dir DIR [--add TITLE] [--delete TRANS_UNIQUEID]

#include "app/Quillfen_AppDelegate.h"
#include "app/UserDefaults.h"
#include "editing/TransactionRecords.h"
#include "store/ManagedObjectContext.h"

#include <QCoreApplication>
#include <cstdio>

using namespace qf;

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quillfen"));
    QCoreApplication::setApplicationName(QStringLiteral("Quillfen"));
    QString dataDir, added, deleted;
    const QStringList arguments = app.arguments();
    for (int i = 1; i + 1 < arguments.size(); i += 2) {
        const QString& name = arguments.at(i);
        QString* target = name == QLatin1String("--data-dir") ? &dataDir
                          : name == QLatin1String("--add")    ? &added
                          : name == QLatin1String("--delete") ? &deleted
                                                              : nullptr;
        if (!target) {
            std::fprintf(stderr, "session-probe: unknown option %s\n", qPrintable(name));
            return 2;
        }
        *target = arguments.at(i + 1);
    }
    if (dataDir.isEmpty()) {
        std::fprintf(stderr, "session-probe: --data-dir is needed\n");
        return 2;
    }

    UserDefaults::standard().registerDefaults();
    Quillfen_AppDelegate delegate;
    delegate.setDataFolderOverride(dataDir);
    delegate.terminateOnSessionEnd();
    ManagedObjectContext* context = delegate.managedObjectContext();
    if (delegate.storeError()) {
        std::fprintf(stderr, "session-probe: %s\n", qPrintable(delegate.storeError()->describe()));
        return 2;
    }
    delegate.applicationDidFinishLaunching();

    if (!added.isEmpty()) {
        TransactionDraft draft;
        draft.title = added;
        draft.amount = -12.5;
        draft.date = 800000000.0;
        TransactionRecords::insert(*context, delegate, draft);
    }
    if (!deleted.isEmpty()) {
        ManagedObject* transaction = delegate.fetchTransObjectWithID(deleted);
        if (!transaction) {
            std::fprintf(stderr, "session-probe: no transaction %s\n", qPrintable(deleted));
            return 2;
        }
        context->deleteObject(transaction);
    }
    std::printf("ready\n");
    std::fflush(stdout);
    return app.exec();
}
