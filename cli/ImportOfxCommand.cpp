#include "ImportOfxCommand.h"

#include "ImportTarget.h"
#include "LedgerCli.h"
#include "app/Quillfen_AppDelegate.h"
#include "exchange/OfxStatementReader.h"
#include "exchange/QIFImport.h"

namespace qf::cli {

int importOfxCommand(Quillfen_AppDelegate& delegate, const CommandLine& line, QTextStream& out, QTextStream& err)
{
    auto fail = [&err](int code, const QString& message) {
        err << "quillfen-cli: " << message << Qt::endl;
        return code;
    };
    if (QStringList unknown = line.unknownOptions({QStringLiteral("account")}); !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("import-ofx does not take %1").arg(unknown.join(QStringLiteral(", "))));
    if (line.positional().size() != 1)
        return fail(BadUsage, QStringLiteral("import-ofx takes one FILE"));
    const Result<QString> accountID = importTargetAccountID(delegate, line);
    if (!accountID)
        return fail(Failure, accountID.message());

    const QString path = line.positional().first();
    OfxStatementReader reader;
    Result<OfxStatementReader::Records> records = reader.readFile(path);
    if (!records)
        return fail(Failure, QStringLiteral("%1: %2").arg(path, records.message()));
    // In the sheet the rows of a statement start unchecked; here every one is wanted.
    for (ValueDictionary& record : *records)
        QIFImport::setShouldImport(record, true);
    const auto made = QIFImport::insertTransactions(*delegate.managedObjectContext(), delegate, *records, *accountID);
    out << made.size() << Qt::endl;
    return Success;
}

} // namespace qf::cli
