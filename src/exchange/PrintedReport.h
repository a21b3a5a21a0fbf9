#pragma once

#include "common/Result.h"
#include "common/Value.h"

#include <QHash>
#include <QString>
#include <QStringView>
#include <memory>
#include <optional>
#include <vector>

namespace qf {

class AmountFormatter;
class DateFormatter;
class ManagedObject;
class ManagedObjectContext;
class RecordEnvironment;

// The report page of a list of transactions: HTML filled from the templates
// "Header.html" (the page with its totals) and "Transactions.html" (one row)
// with the style sheet "styles/styles.css" beside them.
//
// Placeholders are replaced literally, every occurrence, in a fixed order
// and without HTML escaping: a title holding markup shows as markup. With no
// rows the rows' placeholder stays in the page as it is.
class PrintedReport {
public:
    enum class Sort { Title, Amount, Date, Tags };

    struct Templates {
        QString page;
        QString row;
        QString stylesPath; // absolute
    };

    // The folder of the basic templates among the program's resources.
    static QString templatesFolder();
    // Fails, naming the file, when a template cannot be read.
    static Result<Templates> loadTemplates(const QString& folder = templatesFolder());

    // The sort item titles in pop-up order, and back; none for other titles.
    static QString sortTitle(Sort sort);
    static std::optional<Sort> sortFromTitle(QStringView title);

    // A vault's transactions fetched by its kind: all for the library, the
    // upcoming ones for the bill manager, an account's, a folder's, a smart
    // folder's (none when its rule does not parse); none for other kinds.
    // The print command prints what the list shows instead; this is for
    // callers that have a vault but no list.
    static std::vector<ManagedObject*> vaultTransObjects(const RecordEnvironment& store, const ManagedObject& vault);

    // Account and budget titles are looked up among the context's vaults as
    // they are now. Dates and amounts follow the locale (empty: the default one).
    PrintedReport(Templates templates, const ManagedObjectContext& context, const QString& localeIdentifier);
    ~PrintedReport();

    void setSortType(Sort sort) { m_sort = sort; }
    Sort sortType() const { return m_sort; }

    // The transactions in the report's order: ascending by the sort key,
    // titles case-insensitively; missing values first; ties keep their order.
    std::vector<ManagedObject*> sorted(std::vector<ManagedObject*> transactions) const;
    // The filled rows, joined, in the report's order.
    QString HTMLStringFromTransObjects(const std::vector<ManagedObject*>& transactions) const;
    // The whole page: title, today's date in the full style, count, sums and rows.
    QString pageHTML(const QString& vaultTitle, const std::vector<ManagedObject*>& transactions,
                     AbsoluteTime today) const;

private:
    QString rowHTML(const ManagedObject& transaction, std::size_t index) const;
    QString vaultTitle(const Value& uniqueID) const;

    Templates m_templates;
    QString m_localeIdentifier;
    QHash<QString, QString> m_vaultTitles;
    std::unique_ptr<AmountFormatter> m_amounts;
    std::unique_ptr<DateFormatter> m_shortDates;
    Sort m_sort = Sort::Title;
};

} // namespace qf
