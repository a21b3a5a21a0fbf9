#include "ImportQifCommand.h"

#include "ImportTarget.h"
#include "LedgerCli.h"
#include "app/Quillfen_AppDelegate.h"
#include "exchange/DateOrderPattern.h"
#include "exchange/QIFImport.h"

namespace qf::cli {

int importQifCommand(Quillfen_AppDelegate& delegate, const CommandLine& line, QTextStream& out, QTextStream& err)
{
    auto fail = [&err](int code, const QString& message) {
        err << "quillfen-cli: " << message << Qt::endl;
        return code;
    };
    const QString dateOrder = QStringLiteral("date-order");
    const QString accountOption = QStringLiteral("account");
    if (QStringList unknown = line.unknownOptions({dateOrder, accountOption}); !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("import-qif does not take %1").arg(unknown.join(QStringLiteral(", "))));
    if (line.positional().size() != 1)
        return fail(BadUsage, QStringLiteral("import-qif takes one FILE"));
    const QString order = line.value(dateOrder);
    if (!DateOrderPattern::isOrderTitle(order))
        return fail(BadUsage, QStringLiteral("--date-order must be one of %1")
                                  .arg(DateOrderPattern::orderTitles().join(QStringLiteral(", "))));

    const Result<QString> accountID = importTargetAccountID(delegate, line);
    if (!accountID)
        return fail(Failure, accountID.message());

    QIFImport import;
    if (Status loaded = import.loadQIFFile(line.positional().first()); !loaded)
        return fail(Failure, loaded.message());
    // The file's own sample date and the order named stand in for the
    // user's answer in the sheet's date panel.
    if (const std::optional<QString> sample = import.dateFormatString()) {
        if (const auto pattern = DateOrderPattern::patternFromSample(*sample, order))
            import.prepareQIFTransactions(*pattern);
    }
    const auto made = QIFImport::insertTransactions(*delegate.managedObjectContext(), delegate,
                                                    import.QIFTransactions(), *accountID);
    out << made.size() << Qt::endl;
    return Success;
}

} // namespace qf::cli
