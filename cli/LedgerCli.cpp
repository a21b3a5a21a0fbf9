#include "LedgerCli.h"

#include "CliFormat.h"
#include "SmartRuleOption.h"
#include "ImportOfxCommand.h"
#include "ImportQifCommand.h"
#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "common/Money.h"
#include "common/QFNSStringCategory.h"
#include "common/SafePathComponent.h"
#include "editing/AccountRecords.h"
#include "editing/TransactionRecords.h"
#include "planning/Recurrence.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "views/SmartViewQuery.h"
#include "views/SourceListRows.h"
#include "views/TransactionQuery.h"
#include "views/TransactionIndexes.h"

#include <QDate>

namespace qf::cli {

namespace {

const QStringList kSelectionOptions{QStringLiteral("vault"),     QStringLiteral("where"), QStringLiteral("search"),
                                    QStringLiteral("direction"), QStringLiteral("status"), QStringLiteral("range"),
                                    QStringLiteral("sort")};

QString capitalised(const QString& word)
{
    return word.isEmpty() ? word : word.left(1).toUpper() + word.mid(1).toLower();
}

} // namespace

LedgerCli::LedgerCli(Quillfen_AppDelegate& delegate, QTextStream& out, QTextStream& err)
    : m_delegate(delegate), m_out(out), m_err(err)
{
}

QString LedgerCli::usage()
{
    return QStringLiteral(
        "usage: quillfen-cli [--data-dir DIR] [--example] [--locale ID] COMMAND [options]\n"
        "commands:\n"
        "  info                         store file and record counts\n"
        "  vaults [--type TYPE]         vaults in source-list order: id, type, title\n"
        "  add-vault --type TYPE --title TITLE [--account-type T] [--bank NAME] [--url URL]\n"
        "            [--initial AMOUNT] [--share] [--condition All|Any] [--rule RULE]...\n"
        "  edit-smart VAULT [--title T] [--condition All|Any] [--rule RULE]...\n"
        "                               change a smart folder's rules as its sheet would\n"
        "  add --title T --amount A [--type Incoming|Outgoing] [--date YYYY-MM-DD[THH:MM[:SS]]]\n"
        "      [--account ID|TITLE] [--folder ID|TITLE] [--tags \"a, b\"] [--notes N] [--from F] [--to T]\n"
        "      [--pending] [--upcoming] [--repeat R]\n"
        "  set ID KEY VALUE             set one stored key (nil clears)\n"
        "  show ID                      any record's keys as JSON, relationships as ids\n"
        "  delete ID...                 delete records\n"
        "  list [selection] [--json]    transactions: id, date, title, amount, status, tags\n"
        "  balance [selection]          count, total, incoming, outgoing\n"
        "  smart-view VAULT [--view-by List|Icon] [--direction all|incoming|outgoing] [--search TEXT] [--json]\n"
        "                               a smart folder's own view, its choices kept on the vault; the\n"
        "                               search ignores the direction; \"Blank\" when nothing is listed\n"
        "  budget-edit VAULT [--title NAME] --line \"DIRECTION|TAGS|LIMIT|INTERVAL\"...\n"
        "                               replace a budget's lines, e.g. \"Outgoing|food, home|100|Weekly\"\n"
        "  budget VAULT [--period \"This Month\"|\"Last Month\"|\"This Year\"|\"Last Year\"] [--json]\n"
        "                               each line: direction, tags, interval, limit, adjusted limit, actual;\n"
        "                               then the budgeted and actual savings\n"
        "  export-database PATH         the data folder as a .quillfenbackup package; prints its path\n"
        "  import-database PATH --yes   the package in place of the data folder (the old one to the Trash)\n"
        "  reindex                      every transaction's search record written afresh; prints how many\n"
        "  attach TRANS_ID FILE...      keep copies of files with a transaction; prints the attachment ids\n"
        "  detach ATTACHMENT_ID         remove one (its file goes to the Trash)\n"
        "  predicate TEXT [--arg VALUE]...  canonical form of a predicate\n"
        "  export-csv FILE [selection]  the selection as CSV (UTF-16), title, date and amount\n"
        "  report FILE.html [selection] the printed report page; --sort orders it (default Title)\n"
        "  import-qif FILE --date-order Month/Day/Year|Day/Month/Year|... [--account ID|TITLE]\n"
        "                               import every record of a QIF file; prints how many\n"
        "  import-ofx FILE [--account ID|TITLE]\n"
        "                               import every transaction of an OFX or QFX statement; prints how many\n"
        "  add-bill --title T --amount A --type Incoming|Outgoing|Transfer --date YYYY-MM-DD[THH:MM]\n"
        "           [--repeat Never|Daily|Weekly|Bi-Weekly|Monthly|Yearly] [--account A]\n"
        "           [--from-account A --to-account B] [--tags \"a, b\"]   a bill, as the bill row saves it\n"
        "  bills [--range \"All Items\"|\"Next 5 Days\"|\"Next 10 Days\"|\"This Month\"|\"This Year\"]\n"
        "        [--direction all|incoming|outgoing|transfer] [--search S] [--sort \"By Title\"|\"By Date\"|\"By Amount\"]\n"
        "        [--json]               bills: id, due date, title, amount, type, repeat, status\n"
        "  pay BILL_ID [--cancel] [--again]\n"
        "                               pay a bill; prints the new pending transactions' ids. --cancel as if\n"
        "                               the confirmation was cancelled; --again pays a bill paid earlier today\n"
        "selection: [--vault ID|TITLE] [--where PREDICATE] [--search TEXT]\n"
        "           [--direction all|incoming|outgoing] [--status all|paid|pending]\n"
        "           [--range \"This Month\"|\"Last Month\"|\"This Year\"|\"Last Year\"|FROM..TO]\n"
        "           [--sort Date|Title|Amount|Tags]\n"
        "A FROM..TO range runs from 00:00 of FROM to 00:00 of TO, like the list's custom range.\n"
        "RULE: \"FIELD|OPERATOR[|VALUE[|VALUE2]]\", e.g. \"Title|Contains|coffee\", \"Amount|Between|-10|0\",\n"
        "      \"Date|Before|2025-03-01\", \"Tag|Contains|Food, Rent\", \"Tag|Is Empty\", \"Account|Is|Checking\",\n"
        "      \"Type|Is not|Pending\"\n");
}

const QStringList& LedgerCli::selectionOptions()
{
    return kSelectionOptions;
}

int LedgerCli::fail(int code, const QString& message)
{
    m_err << "quillfen-cli: " << message << Qt::endl;
    return code;
}

int LedgerCli::run(const CommandLine& line)
{
    const QString& command = line.command();
    if (command == QLatin1String("info"))
        return info(line);
    if (command == QLatin1String("vaults"))
        return vaults(line);
    if (command == QLatin1String("add-vault"))
        return addVault(line);
    if (command == QLatin1String("add"))
        return add(line);
    if (command == QLatin1String("set"))
        return set(line);
    if (command == QLatin1String("edit-smart"))
        return editSmart(line);
    if (command == QLatin1String("show"))
        return show(line);
    if (command == QLatin1String("smart-view"))
        return smartView(line);
    if (command == QLatin1String("budget-edit"))
        return budgetEdit(line);
    if (command == QLatin1String("budget"))
        return budget(line);
    if (command == QLatin1String("export-database"))
        return exportDatabase(line);
    if (command == QLatin1String("import-database"))
        return importDatabase(line);
    if (command == QLatin1String("reindex"))
        return reindex(line);
    if (command == QLatin1String("attach"))
        return attach(line);
    if (command == QLatin1String("detach"))
        return detach(line);
    if (command == QLatin1String("delete"))
        return remove(line);
    if (command == QLatin1String("list"))
        return list(line);
    if (command == QLatin1String("balance"))
        return balance(line);
    if (command == QLatin1String("predicate"))
        return predicate(line);
    if (command == QLatin1String("export-csv"))
        return exportCsv(line);
    if (command == QLatin1String("report"))
        return report(line);
    if (command == QLatin1String("add-bill"))
        return addBill(line);
    if (command == QLatin1String("bills"))
        return bills(line);
    if (command == QLatin1String("pay"))
        return pay(line);
    if (command == QLatin1String("import-qif"))
        return importQifCommand(m_delegate, line, m_out, m_err);
    if (command == QLatin1String("import-ofx"))
        return importOfxCommand(m_delegate, line, m_out, m_err);
    if (command.isEmpty())
        return fail(BadUsage, QStringLiteral("no command given\n") + usage());
    return fail(BadUsage, QStringLiteral("unknown command \"%1\"\n").arg(command) + usage());
}

int LedgerCli::info(const CommandLine& line)
{
    ManagedObjectContext* context = m_delegate.managedObjectContext();
    const PersistentStore* store = context->persistentStore();
    m_out << "store\t" << (store ? store->path() : QString()) << Qt::endl;
    for (const EntityDescription* entity : ManagedObjectModel::shared().entities())
        m_out << entity->name() << '\t' << context->count(*entity) << Qt::endl;
    return Success;
}

int LedgerCli::vaults(const CommandLine& line)
{
    const QString type = line.value(QStringLiteral("type"));
    const QString size = QStringLiteral("Large");
    for (const SourceListRow& row : SourceListRows::build(*m_delegate.managedObjectContext(), size)) {
        if (row.isHeader())
            continue;
        ManagedObject* vault = row.vault;
        const QString vaultType = vault->valueForKey(u"vault_type").toString();
        if (!type.isEmpty() && vaultType != type)
            continue;
        m_out << vault->valueForKey(u"vault_uniqueID").toString() << '\t' << vaultType << '\t'
              << vault->valueForKey(u"vault_title").toString() << Qt::endl;
    }
    return Success;
}

ManagedObject* LedgerCli::vaultNamed(const QString& idOrTitle, const QString& requiredType)
{
    ManagedObject* vault = m_delegate.fetchVaultObjectWithID(idOrTitle);
    if (!vault)
        vault = m_delegate.fetchVaultObjectWithName(idOrTitle);
    if (vault && !requiredType.isEmpty() && vault->valueForKey(u"vault_type").toString() != requiredType)
        return nullptr;
    return vault;
}

ManagedObject* LedgerCli::recordWithID(const QString& uniqueID)
{
    ManagedObjectContext* context = m_delegate.managedObjectContext();
    for (const EntityDescription* entity : ManagedObjectModel::shared().entities()) {
        // Every entity's identifier is its first attribute.
        const SharedString wanted = SharedString::fromQString(uniqueID);
        for (ManagedObject* record : context->objects(*entity)) {
            if (record->primitiveValue(0).string() == wanted)
                return record;
        }
    }
    return nullptr;
}

int LedgerCli::addVault(const CommandLine& line)
{
    if (QStringList unknown = line.unknownOptions({QStringLiteral("type"), QStringLiteral("title"),
                                                   QStringLiteral("account-type"), QStringLiteral("bank"),
                                                   QStringLiteral("url"), QStringLiteral("initial"),
                                                   QStringLiteral("share"), QStringLiteral("condition"),
                                                   QStringLiteral("rule")});
        !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("add-vault does not take %1").arg(unknown.join(QStringLiteral(", "))));

    QString type = line.value(QStringLiteral("type"));
    if (type.compare(QLatin1String("Folder"), Qt::CaseInsensitive) == 0)
        type = VaultType::Playlist;
    else if (type.compare(QLatin1String("Smart Folder"), Qt::CaseInsensitive) == 0)
        type = VaultType::SmartPlaylist;
    if (type != VaultType::Account && type != VaultType::Budget && type != VaultType::Playlist &&
        type != VaultType::SmartPlaylist)
        return fail(BadUsage, QStringLiteral("--type must be Account, Budget, Playlist (Folder) or Smart Playlist"));
    const QString title = line.value(QStringLiteral("title"));
    if (!QFNSStringCategory::isValidString(title))
        return fail(BadUsage, QStringLiteral("a vault needs a non-empty --title"));

    std::vector<SmartRule> rules;
    QString condition;
    if (line.has(QStringLiteral("rule")) || line.has(QStringLiteral("condition"))) {
        if (type != VaultType::SmartPlaylist)
            return fail(BadUsage, QStringLiteral("only a smart folder takes --rule and --condition"));
        if (int code = smartRuleOptions(line, QStringLiteral("All"), &rules, &condition); code != Success)
            return code;
    }

    double initial = 0;
    if (line.has(QStringLiteral("initial"))) {
        const auto amount = parseAmount(line.value(QStringLiteral("initial")));
        if (!amount)
            return fail(Failure, QStringLiteral("\"%1\" is not an amount").arg(line.value(QStringLiteral("initial"))));
        initial = *amount;
    }

    ManagedObjectContext& context = *m_delegate.managedObjectContext();
    ManagedObject* vault = nullptr;
    if (type == VaultType::Account) {
        AccountDetails details;
        details.title = title;
        details.bankName = line.value(QStringLiteral("bank"));
        details.accountType = line.value(QStringLiteral("account-type"), details.accountType);
        details.url = line.value(QStringLiteral("url"));
        details.initialAmount = initial;
        vault = AccountRecords::createAccount(context, m_delegate, details);
    } else {
        vault = VaultLibrary::insertVault(context, m_delegate, type, title);
        if (type == VaultType::Playlist || type == VaultType::SmartPlaylist)
            vault->setValueForKey(u"vault_shouldPublish", Value::boolean(line.has(QStringLiteral("share"))));
        // A new sheet starts with "All" and one row: a folder made without
        // rules still gets the condition, as one saved from a fresh sheet.
        if (type == VaultType::SmartPlaylist)
            SmartRules::store(context, m_delegate, *vault, rules, condition.isEmpty() ? QStringLiteral("All") : condition);
    }
    m_out << vault->valueForKey(u"vault_uniqueID").toString() << Qt::endl;
    return Success;
}

int LedgerCli::add(const CommandLine& line)
{
    if (QStringList unknown = line.unknownOptions(
            {QStringLiteral("title"), QStringLiteral("amount"), QStringLiteral("type"), QStringLiteral("date"),
             QStringLiteral("account"), QStringLiteral("folder"), QStringLiteral("tags"), QStringLiteral("notes"),
             QStringLiteral("from"), QStringLiteral("to"), QStringLiteral("pending"), QStringLiteral("upcoming"),
             QStringLiteral("repeat")});
        !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("add does not take %1").arg(unknown.join(QStringLiteral(", "))));

    TransactionDraft draft;
    draft.title = line.value(QStringLiteral("title"));
    if (!QFNSStringCategory::isValidString(draft.title))
        return fail(BadUsage, QStringLiteral("a transaction needs a non-empty --title"));
    if (!line.has(QStringLiteral("amount")))
        return fail(BadUsage, QStringLiteral("a transaction needs an --amount"));
    const auto amount = parseAmount(line.value(QStringLiteral("amount")));
    if (!amount)
        return fail(Failure, QStringLiteral("\"%1\" is not an amount").arg(line.value(QStringLiteral("amount"))));
    draft.amount = *amount;
    if (line.has(QStringLiteral("type"))) {
        const QString type = capitalised(line.value(QStringLiteral("type")));
        if (type != QLatin1String("Incoming") && type != QLatin1String("Outgoing"))
            return fail(BadUsage, QStringLiteral("--type must be Incoming or Outgoing"));
        draft.type = type;
    }
    if (TransactionRecords::signedAmount(draft.amount, draft.type) == 0)
        return fail(Failure, QStringLiteral("the amount must not be zero"));

    if (line.has(QStringLiteral("date"))) {
        const auto date = parseIsoLocalDate(line.value(QStringLiteral("date")));
        if (!date)
            return fail(Failure, QStringLiteral("\"%1\" is not a date (YYYY-MM-DD[THH:MM[:SS]])")
                                     .arg(line.value(QStringLiteral("date"))));
        draft.date = *date;
    } else {
        draft.date = *parseIsoLocalDate(QDate::currentDate().toString(Qt::ISODate));
    }
    if (line.has(QStringLiteral("account"))) {
        ManagedObject* account = vaultNamed(line.value(QStringLiteral("account")), VaultType::Account);
        if (!account)
            return fail(Failure, QStringLiteral("no account \"%1\"").arg(line.value(QStringLiteral("account"))));
        draft.accountID = account->valueForKey(u"vault_uniqueID").toString();
    }
    if (line.has(QStringLiteral("folder"))) {
        ManagedObject* folder = vaultNamed(line.value(QStringLiteral("folder")), VaultType::Playlist);
        if (!folder)
            return fail(Failure, QStringLiteral("no folder \"%1\"").arg(line.value(QStringLiteral("folder"))));
        draft.listIDs = folder->valueForKey(u"vault_uniqueID").toString();
    }
    draft.tags = line.value(QStringLiteral("tags")).split(QLatin1Char(','));
    draft.notes = line.value(QStringLiteral("notes"));
    draft.from = line.value(QStringLiteral("from"));
    draft.to = line.value(QStringLiteral("to"));
    draft.pending = line.has(QStringLiteral("pending"));
    draft.upcoming = line.has(QStringLiteral("upcoming"));
    const QString repeat = line.value(QStringLiteral("repeat"), QStringLiteral("Never"));
    if (repeat != QLatin1String("Never") && !Recurrence::isInterval(repeat))
        return fail(BadUsage, QStringLiteral("--repeat must be Never, Daily, Weekly, Bi-Weekly, Monthly or Yearly"));
    draft.repeat = repeat;

    ManagedObjectContext& context = *m_delegate.managedObjectContext();
    ManagedObject* record = TransactionRecords::insert(context, m_delegate, draft);
    if (draft.repeat != QLatin1String("Never")) {
        // The copy is made from the saved values, as after the editor's save.
        if (Status saved = m_delegate.saveAction(); !saved)
            return fail(Failure, saved.message());
        TransactionRecords::scheduleNextOccurrence(context, m_delegate, *record, draft.repeat);
    }
    m_out << record->valueForKey(u"trans_uniqueID").toString() << Qt::endl;
    return Success;
}

static std::optional<Value> valueForAttribute(const AttributeDescription& attribute, const QString& text, QString* why)
{
    if (text == QLatin1String("nil"))
        return Value();
    switch (attribute.type) {
    case AttributeType::String:
        return Value(text);
    case AttributeType::Bool: {
        const QString t = text.toLower();
        if (t == QLatin1String("yes") || t == QLatin1String("true") || t == QLatin1String("1"))
            return Value::boolean(true);
        if (t == QLatin1String("no") || t == QLatin1String("false") || t == QLatin1String("0"))
            return Value::boolean(false);
        *why = QStringLiteral("\"%1\" is not a boolean (YES or NO)").arg(text);
        return std::nullopt;
    }
    case AttributeType::Date: {
        if (auto date = parseIsoLocalDate(text))
            return Value::date(*date);
        *why = QStringLiteral("\"%1\" is not a date (YYYY-MM-DD[THH:MM[:SS]])").arg(text);
        return std::nullopt;
    }
    case AttributeType::Float:
    case AttributeType::Double: {
        if (auto amount = parseAmount(text))
            return Value(*amount);
        *why = QStringLiteral("\"%1\" is not a number").arg(text);
        return std::nullopt;
    }
    case AttributeType::Int16:
    case AttributeType::Int32:
    case AttributeType::Int64: {
        bool ok = false;
        const qlonglong n = text.toLongLong(&ok);
        if (ok)
            return Value(static_cast<std::int64_t>(n));
        *why = QStringLiteral("\"%1\" is not a whole number").arg(text);
        return std::nullopt;
    }
    case AttributeType::Binary:
        return Value::data(QByteArray::fromBase64(text.toLatin1()));
    }
    return std::nullopt;
}

int LedgerCli::smartRuleOptions(const CommandLine& line, const QString& defaultCondition, std::vector<SmartRule>* rules,
                                QString* condition)
{
    *condition = line.value(QStringLiteral("condition"), defaultCondition);
    if (*condition != QLatin1String("All") && *condition != QLatin1String("Any"))
        return fail(BadUsage, QStringLiteral("--condition must be All or Any"));
    for (const QString& text : line.values(QStringLiteral("rule"))) {
        Result<SmartRule> rule = parseSmartRuleOption(text, m_delegate);
        if (!rule)
            return fail(BadUsage, QStringLiteral("--rule \"%1\": %2").arg(text, rule.message()));
        rules->push_back(*rule);
    }
    return Success;
}

int LedgerCli::editSmart(const CommandLine& line)
{
    if (QStringList unknown =
            line.unknownOptions({QStringLiteral("title"), QStringLiteral("condition"), QStringLiteral("rule")});
        !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("edit-smart does not take %1").arg(unknown.join(QStringLiteral(", "))));
    if (line.positional().size() != 1)
        return fail(BadUsage, QStringLiteral("usage: edit-smart VAULT [--title T] [--condition All|Any] [--rule R]..."));
    ManagedObject* vault = vaultNamed(line.positional().first(), VaultType::SmartPlaylist);
    if (!vault)
        return fail(Failure, QStringLiteral("no smart folder \"%1\"").arg(line.positional().first()));
    const QString title = line.value(QStringLiteral("title"), vault->valueForKey(u"vault_title").toString());
    if (!QFNSStringCategory::isValidString(title))
        return fail(BadUsage, QStringLiteral("a smart folder needs a non-empty --title"));

    // As the sheet reopens it: the rows in date order, "Any" kept, else "All".
    std::vector<SmartRule> rows = SmartRules::rulesOfVault(*vault);
    const QString stored = vault->valueForKey(u"vault_smartCondition").toString();
    std::vector<SmartRule> rules;
    QString condition;
    if (int code = smartRuleOptions(line, stored == QLatin1String("Any") ? stored : QStringLiteral("All"), &rules,
                                    &condition);
        code != Success)
        return code;
    if (line.has(QStringLiteral("rule"))) {
        // The n-th rule given takes the n-th row's record; rows beyond are unlinked.
        for (std::size_t i = 0; i < rules.size() && i < rows.size(); ++i) {
            rules[i].uniqueID = rows[i].uniqueID;
            rules[i].date = rows[i].date;
        }
        rows = std::move(rules);
    }
    vault->setValueForKey(u"vault_title", Value(title));
    SmartRules::store(*m_delegate.managedObjectContext(), m_delegate, *vault, rows, condition);
    m_out << vault->valueForKey(u"vault_uniqueID").toString() << Qt::endl;
    return Success;
}

int LedgerCli::show(const CommandLine& line)
{
    if (line.positional().size() != 1)
        return fail(BadUsage, QStringLiteral("usage: show ID"));
    ManagedObject* record = recordWithID(line.positional().first());
    if (!record)
        return fail(Failure, QStringLiteral("no record with the ID \"%1\"").arg(line.positional().first()));
    m_out << recordJson(*record) << Qt::endl;
    return Success;
}

int LedgerCli::set(const CommandLine& line)
{
    if (line.positional().size() != 3)
        return fail(BadUsage, QStringLiteral("usage: set ID KEY VALUE"));
    ManagedObject* record = recordWithID(line.positional().at(0));
    if (!record)
        return fail(Failure, QStringLiteral("no record with the ID \"%1\"").arg(line.positional().at(0)));
    const QString& key = line.positional().at(1);
    const int index = record->entity().indexOfAttribute(key);
    if (index < 0)
        return fail(Failure, QStringLiteral("%1 has no stored key \"%2\"").arg(record->entity().name(), key));
    // Identifiers link records and name attachment folders: never cleared,
    // never a path.
    if (key.endsWith(QLatin1String("_uniqueID")) || key == QLatin1String("attachment_transParentID")) {
        const QString& text = line.positional().at(2);
        const Status safe = text == QLatin1String("nil") ? Status::failure(QStringLiteral("it cannot be cleared"))
                                                         : SafePathComponent::check(text);
        if (!safe)
            return fail(Failure, QStringLiteral("%1 not changed: %2").arg(key, safe.message()));
    }
    QString why;
    const auto value = valueForAttribute(record->entity().attributes()[index], line.positional().at(2), &why);
    if (!value)
        return fail(Failure, why);
    record->setValue(index, *value);
    return Success;
}

int LedgerCli::remove(const CommandLine& line)
{
    if (line.positional().isEmpty())
        return fail(BadUsage, QStringLiteral("usage: delete ID..."));
    std::vector<ManagedObject*> doomed;
    for (const QString& id : line.positional()) {
        ManagedObject* record = recordWithID(id);
        if (!record)
            return fail(Failure, QStringLiteral("no record with the ID \"%1\"").arg(id));
        doomed.push_back(record);
    }
    // Attachment files of deleted transactions go with the save at quit.
    for (ManagedObject* record : doomed)
        m_delegate.managedObjectContext()->deleteObject(record);
    return Success;
}

int LedgerCli::select(const CommandLine& line, std::vector<ManagedObject*>* shown)
{
    ManagedObjectContext& context = *m_delegate.managedObjectContext();
    ManagedObject* vault = nullptr;
    if (line.has(QStringLiteral("vault"))) {
        vault = vaultNamed(line.value(QStringLiteral("vault")));
        if (!vault)
            return fail(Failure, QStringLiteral("no vault \"%1\"").arg(line.value(QStringLiteral("vault"))));
    } else {
        const auto libraries = VaultLibrary::vaultsOfType(context, VaultType::MasterVault);
        vault = libraries.empty() ? nullptr : libraries.front();
    }
    FilterPredicates scope = vault ? TransactionQuery::predicatesForVault(*vault) : TransactionQuery::libraryPredicates();
    if (scope.all.isNull())
        return fail(Failure, QStringLiteral("the vault \"%1\" has no transaction list")
                                 .arg(vault->valueForKey(u"vault_title").toString()));
    m_delegate.setSelectedVaultID(vault ? vault->valueForKey(u"vault_uniqueID").toString() : QString());

    ListSettings settings;
    const QString direction = line.value(QStringLiteral("direction"), QStringLiteral("all")).toLower();
    if (direction == QLatin1String("incoming"))
        settings.directionFilter = QStringLiteral("FilterIncoming");
    else if (direction == QLatin1String("outgoing"))
        settings.directionFilter = QStringLiteral("FilterOutgoing");
    else if (direction != QLatin1String("all"))
        return fail(BadUsage, QStringLiteral("--direction must be all, incoming or outgoing"));
    const QString status = line.value(QStringLiteral("status"), QStringLiteral("all")).toLower();
    if (status == QLatin1String("paid"))
        settings.typeFilter = QStringLiteral("FilterPaid");
    else if (status == QLatin1String("pending"))
        settings.typeFilter = QStringLiteral("FilterPending");
    else if (status != QLatin1String("all"))
        return fail(BadUsage, QStringLiteral("--status must be all, paid or pending"));
    settings.searchText = line.value(QStringLiteral("search"));
    settings.sort = line.value(QStringLiteral("sort"), QStringLiteral("Date"));
    if (!QStringList{QStringLiteral("Date"), QStringLiteral("Title"), QStringLiteral("Amount"), QStringLiteral("Tags")}
             .contains(settings.sort))
        return fail(BadUsage, QStringLiteral("--sort must be Date, Title, Amount or Tags"));

    if (line.has(QStringLiteral("range"))) {
        const QString range = line.value(QStringLiteral("range"));
        const int dots = range.indexOf(QLatin1String(".."));
        if (dots >= 0) {
            settings.dateRangeType = QStringLiteral("Custom Range");
            const QString from = range.left(dots);
            const QString to = range.mid(dots + 2);
            if (!from.isEmpty()) {
                settings.customFrom = parseIsoLocalDate(from);
                if (!settings.customFrom)
                    return fail(Failure, QStringLiteral("\"%1\" is not a date (YYYY-MM-DD)").arg(from));
            }
            if (!to.isEmpty()) {
                settings.customTo = parseIsoLocalDate(to);
                if (!settings.customTo)
                    return fail(Failure, QStringLiteral("\"%1\" is not a date (YYYY-MM-DD)").arg(to));
            }
        } else if (QStringList{QStringLiteral("All Transactions"), QStringLiteral("This Month"),
                               QStringLiteral("Last Month"), QStringLiteral("This Year"), QStringLiteral("Last Year")}
                       .contains(range)) {
            settings.dateRangeType = range;
        } else {
            return fail(BadUsage, QStringLiteral("--range must be a period name or FROM..TO"));
        }
    }

    ListQuery query = vault ? ListQuery::forVault(*vault, settings) : ListQuery();
    query.scope = scope;
    query.settings = settings;
    query.range = TransactionQuery::dateRangeBounds(settings, m_delegate.now(), [&context] {
        return TransactionQuery::earliestTransactionDate(context);
    });
    const AmountFormatter& amounts = m_delegate.amountFormatter();
    query.amountMayContain = [&amounts](const QString& text) { return amounts.mayContain(text); };
    if (line.has(QStringLiteral("where"))) {
        auto where = Predicate::parse(line.value(QStringLiteral("where")));
        if (!where)
            return fail(BadUsage, QStringLiteral("malformed predicate: %1").arg(where.message()));
        if (Status known = where->validateKeys(ManagedObjectModel::shared().trans()); !known)
            return fail(BadUsage, known.message());
        query.extra = *where;
    }
    TransactionIndexes indexes;
    *shown = TransactionQuery::arrangedTransactions(context, query, &indexes);
    return Success;
}

int LedgerCli::list(const CommandLine& line)
{
    QStringList known = kSelectionOptions;
    known << QStringLiteral("json");
    if (QStringList unknown = line.unknownOptions(known); !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("list does not take %1").arg(unknown.join(QStringLiteral(", "))));
    std::vector<ManagedObject*> shown;
    if (int code = select(line, &shown); code != Success)
        return code;
    printTransactions(shown, line.has(QStringLiteral("json")));
    return Success;
}

void LedgerCli::printTransactions(const std::vector<ManagedObject*>& shown, bool json)
{
    if (json) {
        m_out << '[';
        for (std::size_t i = 0; i < shown.size(); ++i)
            m_out << (i ? ",\n" : "\n") << recordJson(*shown[i]);
        m_out << (shown.empty() ? "]" : "\n]") << Qt::endl;
        return;
    }
    for (ManagedObject* t : shown) {
        const Value date = t->valueForKey(u"trans_date");
        m_out << t->valueForKey(u"trans_uniqueID").toString() << '\t'
              << (date.isNull() ? QString() : isoLocalDate(date.toDate())) << '\t'
              << t->valueForKey(u"trans_title").toString() << '\t'
              << plainNumber(decimalAmount(t->valueForKey(u"trans_amount").toDouble())) << '\t'
              << t->valueForKey(u"trans_status").toString() << '\t' << t->valueForKey(u"trans_keywords").toString()
              << '\n';
    }
    m_out.flush();
}

int LedgerCli::smartView(const CommandLine& line)
{
    if (QStringList unknown = line.unknownOptions({QStringLiteral("view-by"), QStringLiteral("direction"),
                                                   QStringLiteral("search"), QStringLiteral("json")});
        !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("smart-view does not take %1").arg(unknown.join(QStringLiteral(", "))));
    if (line.positional().size() != 1)
        return fail(BadUsage, QStringLiteral("usage: smart-view VAULT [--view-by List|Icon] "
                                             "[--direction all|incoming|outgoing] [--search TEXT] [--json]"));
    ManagedObject* vault = vaultNamed(line.positional().first(), VaultType::SmartPlaylist);
    if (!vault)
        return fail(Failure, QStringLiteral("no smart folder \"%1\"").arg(line.positional().first()));
    // The view's choices are the vault's, kept for its next showing.
    if (line.has(QStringLiteral("view-by"))) {
        const QString viewBy = line.value(QStringLiteral("view-by")).toLower();
        if (viewBy != QLatin1String("list") && viewBy != QLatin1String("icon"))
            return fail(BadUsage, QStringLiteral("--view-by must be List or Icon"));
        vault->setValueForKey(u"vault_viewBy", Value(viewBy == QLatin1String("list") ? "ListView" : "IconView"));
    }
    if (line.has(QStringLiteral("direction"))) {
        const QString direction = line.value(QStringLiteral("direction")).toLower();
        const char* filter = direction == QLatin1String("all")        ? "FilterAll"
                             : direction == QLatin1String("incoming") ? "FilterIncoming"
                             : direction == QLatin1String("outgoing") ? "FilterOutgoing"
                                                                      : nullptr;
        if (!filter)
            return fail(BadUsage, QStringLiteral("--direction must be all, incoming or outgoing"));
        vault->setValueForKey(u"vault_directionFilter", Value(filter));
    }
    const std::vector<ManagedObject*> shown =
        SmartViewQuery::transactions(*m_delegate.managedObjectContext(), *vault, line.value(QStringLiteral("search")));
    if (vault->valueForKey(u"vault_viewBy").toString() != QLatin1String("ListView"))
        SmartViewQuery::giveIdentifiers(shown, m_delegate);
    // The window's details pane for an empty result.
    if (shown.empty() && !line.has(QStringLiteral("json"))) {
        m_out << "Blank" << Qt::endl;
        return Success;
    }
    printTransactions(shown, line.has(QStringLiteral("json")));
    return Success;
}

int LedgerCli::balance(const CommandLine& line)
{
    if (QStringList unknown = line.unknownOptions(kSelectionOptions); !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("balance does not take %1").arg(unknown.join(QStringLiteral(", "))));
    std::vector<ManagedObject*> shown;
    if (int code = select(line, &shown); code != Success)
        return code;
    const Balances b = TransactionQuery::balances(shown);
    m_out << "count\t" << b.count << '\n'
          << "total\t" << plainNumber(b.total) << '\n'
          << "incoming\t" << plainNumber(b.incoming) << '\n'
          << "outgoing\t" << plainNumber(b.outgoing) << Qt::endl;
    return Success;
}

int LedgerCli::predicate(const CommandLine& line)
{
    if (line.positional().size() != 1)
        return fail(BadUsage, QStringLiteral("usage: predicate TEXT [--arg VALUE]..."));
    ValueArray arguments;
    for (const QString& argument : line.values(QStringLiteral("arg")))
        arguments.push_back(Value(argument));
    auto parsed = Predicate::parse(line.positional().first(), arguments);
    if (!parsed)
        return fail(BadUsage, QStringLiteral("malformed predicate: %1").arg(parsed.message()));
    m_out << parsed->predicateFormat() << Qt::endl;
    return Success;
}

} // namespace qf::cli
