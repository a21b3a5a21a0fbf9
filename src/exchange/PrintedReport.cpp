#include "exchange/PrintedReport.h"

#include "app/ResourceFolder.h"
#include "common/AmountFormatter.h"
#include "common/DateFormatter.h"
#include "common/Money.h"
#include "common/Predicate.h"
#include "store/ManagedObject.h"
#include "store/ManagedObjectContext.h"
#include "store/RecordEnvironment.h"
#include "store/VaultLibrary.h"

#include <QFile>
#include <QUrl>
#include <algorithm>

namespace qf {

namespace {

Result<QString> readTemplate(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Result<QString>::failure(QStringLiteral("Cannot read the report template \"%1\": %2")
                                            .arg(path, file.errorString()));
    return QString::fromUtf8(file.readAll());
}

// Sort keys read once: a comparison reading them through the record would
// read each key about forty times over for a long list.
struct SortEntry {
    bool isNull;
    double number;
    QString text;
    ManagedObject* record;
};

} // namespace

QString PrintedReport::templatesFolder()
{
    return resourceFolder() + QStringLiteral("/Print Templates/Basic");
}

Result<PrintedReport::Templates> PrintedReport::loadTemplates(const QString& folder)
{
    Templates templates;
    templates.stylesPath = folder + QStringLiteral("/styles/styles.css");
    Result<QString> page = readTemplate(folder + QStringLiteral("/Header.html"));
    if (!page)
        return page.error();
    Result<QString> row = readTemplate(folder + QStringLiteral("/Transactions.html"));
    if (!row)
        return row.error();
    if (!QFile::exists(templates.stylesPath))
        return Result<Templates>::failure(QStringLiteral("The report style sheet \"%1\" is missing").arg(templates.stylesPath));
    templates.page = std::move(page).value();
    templates.row = std::move(row).value();
    return templates;
}

QString PrintedReport::sortTitle(Sort sort)
{
    switch (sort) {
    case Sort::Title:
        return QStringLiteral("Title");
    case Sort::Amount:
        return QStringLiteral("Amount");
    case Sort::Date:
        return QStringLiteral("Date");
    case Sort::Tags:
        return QStringLiteral("Tags");
    }
    return {};
}

std::optional<PrintedReport::Sort> PrintedReport::sortFromTitle(QStringView title)
{
    for (Sort sort : {Sort::Title, Sort::Amount, Sort::Date, Sort::Tags}) {
        if (title == sortTitle(sort))
            return sort;
    }
    return std::nullopt;
}

std::vector<ManagedObject*> PrintedReport::vaultTransObjects(const RecordEnvironment& store, const ManagedObject& vault)
{
    const QString trans = QStringLiteral("TransEntity");
    const QString type = vault.valueForKey(u"vault_type").toString();
    const Value id = vault.valueForKey(u"vault_uniqueID");
    if (type == VaultType::MasterVault)
        return store.fetch(trans, QStringLiteral("TRUEPREDICATE"), {});
    if (type == VaultType::BillManager)
        return store.fetch(trans, QStringLiteral("trans_isUpcoming == YES"), {});
    if (type == VaultType::Account)
        return store.fetch(trans, QStringLiteral("trans_accountID == %@"), {id});
    if (type == VaultType::Playlist)
        return store.fetch(trans, QStringLiteral("trans_listIDs contains %@"), {id});
    if (type == VaultType::SmartPlaylist) {
        const QString rule = vault.valueForKey(u"vault_smartPredicateString").toString();
        return store.fetch(trans, Predicate::parse(rule) ? rule : QStringLiteral("self == nil"), {});
    }
    return {};
}

PrintedReport::PrintedReport(Templates templates, const ManagedObjectContext& context, const QString& localeIdentifier)
    : m_templates(std::move(templates)), m_localeIdentifier(localeIdentifier),
      m_amounts(std::make_unique<AmountFormatter>(localeIdentifier)),
      m_shortDates(std::make_unique<DateFormatter>(DateFormatter::Style::Short, localeIdentifier))
{
    for (const ManagedObject* vault : context.objects(ManagedObjectModel::shared().vault())) {
        if (vault->isDeleted())
            continue;
        const QString id = vault->valueForKey(u"vault_uniqueID").toString();
        if (!id.isEmpty() && !m_vaultTitles.contains(id))
            m_vaultTitles.insert(id, vault->valueForKey(u"vault_title").toString());
    }
}

PrintedReport::~PrintedReport() = default;

std::vector<ManagedObject*> PrintedReport::sorted(std::vector<ManagedObject*> transactions) const
{
    const bool byText = m_sort == Sort::Title || m_sort == Sort::Tags;
    const QStringView key = m_sort == Sort::Title    ? u"trans_title"
                            : m_sort == Sort::Tags   ? u"trans_keywords"
                            : m_sort == Sort::Amount ? u"trans_amount"
                                                     : u"trans_date";
    std::vector<SortEntry> entries;
    entries.reserve(transactions.size());
    for (ManagedObject* t : transactions) {
        const Value value = t->valueForKey(key);
        SortEntry entry{value.isNull(), 0, {}, t};
        if (byText)
            entry.text = value.toString();
        else
            entry.number = m_sort == Sort::Date ? value.toDate() : value.toDouble();
        entries.push_back(std::move(entry));
    }
    const Qt::CaseSensitivity sensitivity = m_sort == Sort::Title ? Qt::CaseInsensitive : Qt::CaseSensitive;
    std::stable_sort(entries.begin(), entries.end(), [&](const SortEntry& a, const SortEntry& b) {
        if (a.isNull || b.isNull)
            return a.isNull && !b.isNull;
        return byText ? a.text.compare(b.text, sensitivity) < 0 : a.number < b.number;
    });
    for (std::size_t i = 0; i < entries.size(); ++i)
        transactions[i] = entries[i].record;
    return transactions;
}

QString PrintedReport::vaultTitle(const Value& uniqueID) const
{
    return uniqueID.isNull() ? QString() : m_vaultTitles.value(uniqueID.toString());
}

QString PrintedReport::rowHTML(const ManagedObject& t, std::size_t index) const
{
    const Value date = t.valueForKey(u"trans_date");
    const Value amount = t.valueForKey(u"trans_amount");
    QString row = m_templates.row;
    // In this order, each into the text the ones before it left: a title
    // that holds another placeholder gets that one filled too.
    row.replace(QLatin1String("%%TRANSACTION_TITLE%%"), t.valueForKey(u"trans_title").toString());
    row.replace(QLatin1String("%%TRANSACTION_DATE%%"), date.isNull() ? QString() : m_shortDates->format(date.toDate()));
    row.replace(QLatin1String("%%TRANSACTION_AMOUNT%%"),
                amount.isNull() ? QString() : m_amounts->format(amount.toDouble()));
    row.replace(QLatin1String("%%TRANSACTION_TAGS%%"), t.valueForKey(u"trans_keywords").toString());
    row.replace(QLatin1String("%%TRANSACTION_ACCOUNT%%"), vaultTitle(t.valueForKey(u"trans_accountID")));
    row.replace(QLatin1String("%%TRANSACTION_BUDGET%%"), vaultTitle(t.valueForKey(u"trans_budgetID")));
    row.replace(QLatin1String("%%TRANSACTION_ROW_TYPE%%"),
                index % 2 == 0 ? QLatin1String("even") : QLatin1String("odd"));
    return row;
}

QString PrintedReport::HTMLStringFromTransObjects(const std::vector<ManagedObject*>& transactions) const
{
    QString rows;
    const std::vector<ManagedObject*> ordered = sorted(transactions);
    for (std::size_t i = 0; i < ordered.size(); ++i)
        rows += rowHTML(*ordered[i], i);
    return rows;
}

QString PrintedReport::pageHTML(const QString& vaultTitle, const std::vector<ManagedObject*>& transactions,
                                AbsoluteTime today) const
{
    AmountSum incoming, outgoing, all;
    for (const ManagedObject* t : transactions) {
        const double amount = decimalAmount(t->valueForKey(u"trans_amount").toDouble());
        const QString direction = t->valueForKey(u"trans_direction").toString();
        if (direction == QLatin1String("Incoming"))
            incoming.add(amount);
        else if (direction == QLatin1String("Outgoing"))
            outgoing.add(amount);
        all.add(amount);
    }
    const DateFormatter fullDates(DateFormatter::Style::Full, m_localeIdentifier);
    QString page = m_templates.page;
    page.replace(QLatin1String("%%STYLES_CSS%%"), QUrl::fromLocalFile(m_templates.stylesPath).toString());
    page.replace(QLatin1String("%%TITLE%%"), vaultTitle);
    page.replace(QLatin1String("%%SUBTITLE%%"), fullDates.format(today));
    page.replace(QLatin1String("%%TRANSACTION_COUNT%%"), QStringLiteral("%1 Transactions").arg(transactions.size()));
    page.replace(QLatin1String("%%INCOMING_AMOUNT%%"), m_amounts->format(incoming.total()));
    page.replace(QLatin1String("%%OUTGOING_AMOUNT%%"), m_amounts->format(outgoing.total()));
    page.replace(QLatin1String("%%CURRENT_BALANCE_AMOUNT%%"), m_amounts->format(all.total()));
    const QString rows = HTMLStringFromTransObjects(transactions);
    if (!rows.isEmpty())
        page.replace(QLatin1String("%%TRANSACTIONS_LIST%%"), rows);
    return page;
}

} // namespace qf
