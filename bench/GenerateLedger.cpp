#include "LedgerGenerator.h"

#include <QCoreApplication>
#include <QStringList>
#include <cstdio>

// quillfen-generate-ledger FOLDER [TRANSACTIONS] [SEED]: writes a synthetic
// ledger to try the app and the CLI on large data.
int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 2) {
        std::fprintf(stderr, "usage: quillfen-generate-ledger FOLDER [TRANSACTIONS] [SEED]\n");
        return 2;
    }
    qf::LedgerShape shape;
    if (args.size() > 2)
        shape.transactions = args.at(2).toLongLong();
    if (args.size() > 3)
        shape.seed = args.at(3).toULongLong();
    if (qf::Status s = qf::LedgerGenerator::writeStore(args.at(1), shape); !s) {
        std::fprintf(stderr, "quillfen-generate-ledger: %s\n", qPrintable(s.message()));
        return 1;
    }
    return 0;
}
