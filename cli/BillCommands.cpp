// The bills screen's commands: add-bill, bills and pay.
#include "LedgerCli.h"

#include "CliFormat.h"
#include "app/Quillfen_AppDelegate.h"
#include "common/Money.h"
#include "common/QFNSStringCategory.h"
#include "editing/TransactionRecords.h"
#include "planning/BillListQuery.h"
#include "planning/BillPayment.h"
#include "planning/BillRecords.h"
#include "planning/Recurrence.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"

namespace qf::cli {

int LedgerCli::addBill(const CommandLine& line)
{
    if (QStringList unknown = line.unknownOptions({QStringLiteral("title"), QStringLiteral("amount"),
                                                   QStringLiteral("type"), QStringLiteral("date"),
                                                   QStringLiteral("repeat"), QStringLiteral("account"),
                                                   QStringLiteral("from-account"), QStringLiteral("to-account"),
                                                   QStringLiteral("tags")});
        !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("add-bill does not take %1").arg(unknown.join(QStringLiteral(", "))));

    // Checked in the order the row's Save checks its fields.
    BillFields fields;
    fields.title = line.value(QStringLiteral("title"));
    if (!QFNSStringCategory::isValidString(fields.title))
        return fail(BadUsage, QStringLiteral("a bill needs a non-empty --title"));
    if (!QFNSStringCategory::isValidString(line.value(QStringLiteral("amount"))))
        return fail(BadUsage, QStringLiteral("a bill needs an --amount"));
    const auto amount = parseAmount(line.value(QStringLiteral("amount")));
    if (!amount)
        return fail(Failure, QStringLiteral("\"%1\" is not an amount").arg(line.value(QStringLiteral("amount"))));
    fields.amount = *amount;
    if (!QFNSStringCategory::isValidString(line.value(QStringLiteral("date"))))
        return fail(BadUsage, QStringLiteral("a bill needs a --date"));
    const auto date = parseIsoLocalDate(line.value(QStringLiteral("date")));
    if (!date)
        return fail(Failure,
                    QStringLiteral("\"%1\" is not a date (YYYY-MM-DD[THH:MM])").arg(line.value(QStringLiteral("date"))));
    fields.date = *date;

    fields.billType = line.value(QStringLiteral("type"));
    if (fields.billType != QLatin1String("Incoming") && fields.billType != QLatin1String("Outgoing") &&
        fields.billType != QLatin1String("Transfer"))
        return fail(BadUsage, QStringLiteral("--type must be Incoming, Outgoing or Transfer"));
    fields.reoccurrence = line.value(QStringLiteral("repeat"), QStringLiteral("Never"));
    if (fields.reoccurrence != QLatin1String("Never") && !Recurrence::isInterval(fields.reoccurrence))
        return fail(BadUsage, QStringLiteral("--repeat must be Never, Daily, Weekly, Bi-Weekly, Monthly or Yearly"));
    fields.keywords = TransactionRecords::keywordString(
        TransactionRecords::tagsFromTypedText(line.value(QStringLiteral("tags"))));

    const bool transfer = fields.billType == QLatin1String("Transfer");
    if (transfer && line.has(QStringLiteral("account")))
        return fail(BadUsage, QStringLiteral("a Transfer bill takes --from-account and --to-account, not --account"));
    if (!transfer && (line.has(QStringLiteral("from-account")) || line.has(QStringLiteral("to-account"))))
        return fail(BadUsage, QStringLiteral("only a Transfer bill takes --from-account and --to-account"));
    auto accountID = [this, &line](const QString& option, QString* id) {
        if (!line.has(option))
            return true;
        ManagedObject* account = vaultNamed(line.value(option), VaultType::Account);
        if (!account)
            return false;
        *id = account->valueForKey(u"vault_uniqueID").toString();
        return true;
    };
    QString account, from, to;
    for (const auto& [option, id] : {std::pair{QStringLiteral("account"), &account},
                                     std::pair{QStringLiteral("from-account"), &from},
                                     std::pair{QStringLiteral("to-account"), &to}}) {
        if (!accountID(option, id))
            return fail(Failure, QStringLiteral("no account \"%1\"").arg(line.value(option)));
    }

    ManagedObjectContext& context = *m_delegate.managedObjectContext();
    ManagedObject* bill = BillRecords::addBill(context, m_delegate);
    if (transfer) {
        BillRecords::setFromAccount(*bill, from);
        BillRecords::setToAccount(*bill, to);
    } else if (!account.isEmpty()) {
        BillRecords::setAccount(*bill, account);
    }
    BillRecords::saveBill(*bill, fields);
    m_out << bill->valueForKey(u"trans_uniqueID").toString() << Qt::endl;
    return Success;
}

int LedgerCli::bills(const CommandLine& line)
{
    if (QStringList unknown = line.unknownOptions({QStringLiteral("range"), QStringLiteral("direction"),
                                                   QStringLiteral("search"), QStringLiteral("sort"),
                                                   QStringLiteral("json")});
        !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("bills does not take %1").arg(unknown.join(QStringLiteral(", "))));
    // Each run starts afresh: nothing is read from or kept on the vault.
    BillListSettings settings;
    settings.dateRangeType = line.value(QStringLiteral("range"), settings.dateRangeType);
    if (!BillDueRanges::items().contains(settings.dateRangeType))
        return fail(BadUsage, QStringLiteral("--range must be one of: ") +
                                  BillDueRanges::items().join(QStringLiteral(", ")));
    const QString direction = line.value(QStringLiteral("direction"), QStringLiteral("all")).toLower();
    const QStringList directions{QStringLiteral("all"), QStringLiteral("incoming"), QStringLiteral("outgoing"),
                                 QStringLiteral("transfer")};
    const qsizetype d = directions.indexOf(direction);
    if (d < 0)
        return fail(BadUsage, QStringLiteral("--direction must be all, incoming, outgoing or transfer"));
    settings.directionFilter = BillListQuery::directionFilters().at(d);
    settings.sort = line.value(QStringLiteral("sort"), settings.sort);
    if (!BillListQuery::sortItems().contains(settings.sort))
        return fail(BadUsage, QStringLiteral("--sort must be \"By Title\", \"By Date\" or \"By Amount\""));
    settings.searchText = line.value(QStringLiteral("search"));

    BillDueRanges ranges([this] { return m_delegate.now(); });
    const std::vector<ManagedObject*> shown =
        BillListQuery::arrangedBills(*m_delegate.managedObjectContext(), settings, ranges);
    if (line.has(QStringLiteral("json"))) {
        printTransactions(shown, true);
        return Success;
    }
    for (ManagedObject* b : shown) {
        const Value date = b->valueForKey(u"trans_date");
        m_out << b->valueForKey(u"trans_uniqueID").toString() << '\t'
              << (date.isNull() ? QString() : isoLocalDate(date.toDate())) << '\t'
              << b->valueForKey(u"trans_title").toString() << '\t'
              << plainNumber(decimalAmount(b->valueForKey(u"trans_amount").toDouble())) << '\t'
              << b->valueForKey(u"trans_billType").toString() << '\t'
              << b->valueForKey(u"trans_reoccurrence").toString() << '\t'
              << b->valueForKey(u"trans_status").toString() << '\n';
    }
    m_out.flush();
    return Success;
}

int LedgerCli::pay(const CommandLine& line)
{
    if (QStringList unknown = line.unknownOptions({QStringLiteral("cancel"), QStringLiteral("again")});
        !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("pay does not take %1").arg(unknown.join(QStringLiteral(", "))));
    if (line.positional().size() != 1)
        return fail(BadUsage, QStringLiteral("usage: pay BILL_ID [--cancel] [--again]"));
    ManagedObject* bill = recordWithID(line.positional().first());
    if (!bill || &bill->entity() != &ManagedObjectModel::shared().trans() ||
        !bill->valueForKey(u"trans_isUpcoming").toBool())
        return fail(Failure, QStringLiteral("no bill with the ID \"%1\"").arg(line.positional().first()));

    ManagedObjectContext& context = *m_delegate.managedObjectContext();
    ManagedObject* earlier = nullptr;
    switch (BillPayment::check(context, *bill, m_delegate.now(), &earlier)) {
    case BillPayment::Check::MissingAccount:
        return fail(Failure, BillPayment::missingAccountTitle() + QStringLiteral(": ") + BillPayment::missingAccountText());
    case BillPayment::Check::NoNextDate:
        return fail(Failure, QStringLiteral("the bill's repeat \"%1\" has no next due date; nothing paid")
                                 .arg(bill->valueForKey(u"trans_reoccurrence").toString()));
    case BillPayment::Check::PaidToday:
        if (!line.has(QStringLiteral("again")))
            return fail(Failure, QStringLiteral("\"%1\" was already paid today by %2; --again pays it once more")
                                     .arg(bill->valueForKey(u"trans_title").toString(),
                                          earlier->valueForKey(u"trans_uniqueID").toString()));
        break;
    case BillPayment::Check::Payable:
        break;
    }
    BillPayment::begin(*bill);
    if (line.has(QStringLiteral("cancel")))
        return Success;
    for (ManagedObject* payment : BillPayment::complete(context, m_delegate, *bill))
        m_out << payment->valueForKey(u"trans_uniqueID").toString() << '\n';
    m_out.flush();
    return Success;
}

} // namespace qf::cli
