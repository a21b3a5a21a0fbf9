// The budget commands: the edit view's Done, and the overview's figures.

#include "LedgerCli.h"

#include "CliFormat.h"
#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "planning/BudgetLines.h"
#include "store/ManagedObject.h"
#include "store/VaultLibrary.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>

namespace qf::cli {

namespace {

// "DIRECTION|TAGS|LIMIT|INTERVAL": the direction and interval by their
// titles in any case, the limit as the edit row reads it.
std::optional<BudgetLineDraft> readLine(const QString& text, const AmountFormatter& amounts, QString* problem)
{
    const QStringList parts = text.split(QLatin1Char('|'));
    if (parts.size() != 4) {
        *problem = QStringLiteral("the line \"%1\" is not DIRECTION|TAGS|LIMIT|INTERVAL").arg(text);
        return std::nullopt;
    }
    BudgetLineDraft line;
    for (const QString direction : {QStringLiteral("Incoming"), QStringLiteral("Outgoing")}) {
        if (parts[0].trimmed().compare(direction, Qt::CaseInsensitive) == 0)
            line.direction = direction;
    }
    line.interval.clear();
    for (const QString& interval : BudgetLines::intervals()) {
        if (parts[3].trimmed().compare(interval, Qt::CaseInsensitive) == 0)
            line.interval = interval;
    }
    if (line.direction.isEmpty() || line.interval.isEmpty()) {
        *problem = QStringLiteral("the line \"%1\" needs Incoming or Outgoing and one of %2")
                       .arg(text, BudgetLines::intervals().join(QStringLiteral(", ")));
        return std::nullopt;
    }
    // Tags as the token field joins them.
    QStringList tags;
    for (const QString& tag : parts[1].split(QLatin1Char(','))) {
        if (!tag.trimmed().isEmpty())
            tags << tag.trimmed();
    }
    line.tags = tags.join(QStringLiteral(", "));
    line.limit = BudgetLines::readLimit(parts[2], amounts);
    return line;
}

} // namespace

int LedgerCli::budgetEdit(const CommandLine& line)
{
    if (QStringList unknown = line.unknownOptions({QStringLiteral("title"), QStringLiteral("line")}); !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("budget-edit does not take %1").arg(unknown.join(QStringLiteral(", "))));
    if (line.positional().size() != 1)
        return fail(BadUsage, QStringLiteral("usage: budget-edit VAULT [--title NAME] --line \"DIRECTION|TAGS|LIMIT|INTERVAL\"..."));
    ManagedObject* budget = vaultNamed(line.positional().first(), VaultType::Budget);
    if (!budget)
        return fail(Failure, QStringLiteral("no budget \"%1\"").arg(line.positional().first()));

    // Incoming rows, outgoing rows, and the text each came from.
    std::vector<BudgetLineDraft> rows[2];
    QStringList given[2];
    for (const QString& text : line.values(QStringLiteral("line"))) {
        QString problem;
        std::optional<BudgetLineDraft> row = readLine(text, m_delegate.amountFormatter(), &problem);
        if (!row)
            return fail(Failure, problem);
        row->uniqueID = m_delegate.createUniqueID();
        const int list = row->direction == QLatin1String("Incoming") ? 0 : 1;
        rows[list].push_back(*row);
        given[list] << text;
    }
    const QString name = line.value(QStringLiteral("title"), budget->valueForKey(u"vault_title").toString());
    const auto problem = BudgetLines::finishEditing(*m_delegate.managedObjectContext(), *budget, name, rows[0], rows[1]);
    if (!problem) {
        m_out << budget->valueForKey(u"vault_uniqueID").toString() << Qt::endl;
        return Success;
    }
    // What Done stored before it stopped (the name, or the removal of every
    // line) is kept, as the edit view keeps it.
    m_keepChangesOnFailure = true;
    switch (problem->field) {
    case BudgetEditProblem::Name:
        return fail(Failure, QStringLiteral("a budget needs a name"));
    case BudgetEditProblem::NoLines:
        return fail(Failure, QStringLiteral("a budget needs at least one --line; its lines were removed"));
    case BudgetEditProblem::Tags:
    case BudgetEditProblem::Limit: {
        const QString& text = given[problem->direction == QLatin1String("Incoming") ? 0 : 1].at(problem->row);
        return fail(Failure, QStringLiteral("the line \"%1\" needs %2; the budget's lines are unchanged")
                                 .arg(text, problem->field == BudgetEditProblem::Tags ? QStringLiteral("tags")
                                                                                      : QStringLiteral("a limit other than 0")));
    }
    }
    return Failure;
}

int LedgerCli::budget(const CommandLine& line)
{
    if (QStringList unknown = line.unknownOptions({QStringLiteral("period"), QStringLiteral("json")}); !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("budget does not take %1").arg(unknown.join(QStringLiteral(", "))));
    if (line.positional().size() != 1)
        return fail(BadUsage, QStringLiteral("usage: budget VAULT [--period \"This Month\"|\"Last Month\"|\"This Year\"|\"Last Year\"] [--json]"));
    ManagedObject* budget = vaultNamed(line.positional().first(), VaultType::Budget);
    if (!budget)
        return fail(Failure, QStringLiteral("no budget \"%1\"").arg(line.positional().first()));
    QString period = BudgetLines::period(*budget);
    if (line.has(QStringLiteral("period"))) {
        period = line.value(QStringLiteral("period"));
        if (!BudgetLines::periods().contains(period))
            return fail(BadUsage, QStringLiteral("--period must be one of %1").arg(BudgetLines::periods().join(QStringLiteral(", "))));
    }
    // As the screen's period menu: the choice is the budget's.
    if (budget->valueForKey(u"vault_budgetDateRange").toString() != period)
        budget->setValueForKey(u"vault_budgetDateRange", Value(period));

    // The screen's figures: single-precision values at the currency's digits.
    const double scale = std::pow(10.0, m_delegate.amountFormatter().fractionDigits());
    auto figure = [scale](double value) { return plainNumber(std::round(value * scale) / scale); };
    const double budgeted = budget->valueForKey(u"vault_budgetTotalBudgetedSavings").toDouble();
    const double actual = budget->valueForKey(u"vault_budgetTotalActualSavings").toDouble();
    QJsonArray lines;
    for (const QString direction : {QStringLiteral("Incoming"), QStringLiteral("Outgoing")}) {
        for (const ManagedObject* l : BudgetLines::lines(*m_delegate.managedObjectContext(), *budget, direction)) {
            const QString tags = l->valueForKey(u"budget_tags").toString();
            const QString interval = l->valueForKey(u"budget_dateRange").toString();
            const double limit = l->valueForKey(u"budget_limitAmount").toDouble();
            const double adjusted = l->valueForKey(u"budget_limitAmountAdjusted").toDouble();
            const double spent = l->valueForKey(u"budget_actualAmount").toDouble();
            if (line.has(QStringLiteral("json"))) {
                lines.append(QJsonObject{{QStringLiteral("id"), l->valueForKey(u"budget_uniqueID").toString()},
                                         {QStringLiteral("direction"), direction},
                                         {QStringLiteral("tags"), tags},
                                         {QStringLiteral("interval"), interval},
                                         {QStringLiteral("limit"), figure(limit).toDouble()},
                                         {QStringLiteral("adjusted"), figure(adjusted).toDouble()},
                                         {QStringLiteral("actual"), figure(spent).toDouble()}});
                continue;
            }
            m_out << direction << '\t' << tags << '\t' << interval << '\t' << figure(limit) << '\t'
                  << figure(adjusted) << '\t' << figure(spent) << '\n';
        }
    }
    if (line.has(QStringLiteral("json"))) {
        const QJsonObject all{{QStringLiteral("id"), budget->valueForKey(u"vault_uniqueID").toString()},
                              {QStringLiteral("period"), period},
                              {QStringLiteral("lines"), lines},
                              {QStringLiteral("budgetedSavings"), figure(budgeted).toDouble()},
                              {QStringLiteral("actualSavings"), figure(actual).toDouble()}};
        m_out << QJsonDocument(all).toJson(QJsonDocument::Indented);
    } else {
        m_out << "Budgeted Savings\t" << figure(budgeted) << '\n' << "Actual Savings\t" << figure(actual) << '\n';
    }
    m_out.flush();
    return Success;
}

} // namespace qf::cli
