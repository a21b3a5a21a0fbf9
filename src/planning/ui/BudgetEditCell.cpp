#include "planning/ui/BudgetEditCell.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "editing/TagsController.h"
#include "editing/ui/FieldCompleter.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QToolButton>

namespace qf {

BudgetEditCell::BudgetEditCell(Quillfen_AppDelegate& delegate, const BudgetLineDraft& row, QWidget* parent)
    : QWidget(parent), m_delegate(delegate), m_row(row), m_tags(new QLineEdit(this)), m_limit(new QLineEdit(this)),
      m_interval(new QComboBox(this)), m_add(new QToolButton(this)), m_remove(new QToolButton(this))
{
    m_tags->setObjectName(QStringLiteral("budgetTags"));
    m_tags->setPlaceholderText(tr("Tags, separated by commas"));
    m_completer = new FieldCompleter(*m_tags, [](const QString& partial) {
        TagsController* tags = TagsController::sharedInstance();
        return tags ? tags->hintsForKeyword(partial) : QStringList();
    }, QLatin1Char(','));
    m_limit->setObjectName(QStringLiteral("budgetLimit"));
    m_limit->setAlignment(Qt::AlignRight);
    m_limit->setPlaceholderText(delegate.amountFormatter().format(0));
    m_limit->setMaximumWidth(m_limit->fontMetrics().averageCharWidth() * 16);
    connect(m_limit, &QLineEdit::editingFinished, this, &BudgetEditCell::reformatLimit);
    m_interval->setObjectName(QStringLiteral("budgetInterval"));
    for (const QString& interval : BudgetLines::intervals())
        m_interval->addItem(tr(qPrintable(interval)), interval);
    m_add->setText(QStringLiteral("+"));
    m_add->setToolTip(tr("Add a line"));
    m_remove->setText(QStringLiteral("−"));
    m_remove->setToolTip(tr("Remove this line"));
    connect(m_add, &QToolButton::clicked, this, [this] { Q_EMIT addRequested(m_row.direction); });
    connect(m_remove, &QToolButton::clicked, this, [this] { Q_EMIT removeRequested(this); });

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    // Room for the error marker beside the two fields that can be refused.
    const int markerRoom = fontMetrics().height() + 8;
    layout->addWidget(m_tags, 1);
    layout->addSpacing(markerRoom);
    layout->addWidget(m_limit);
    layout->addSpacing(markerRoom);
    layout->addWidget(m_interval);
    layout->addWidget(m_remove);
    layout->addWidget(m_add);

    setTagsString(row.tags);
    m_limit->setText(row.limit == 0 && row.tags.isEmpty() ? QString() : delegate.amountFormatter().format(row.limit));
    const int interval = m_interval->findData(row.interval);
    m_interval->setCurrentIndex(interval >= 0 ? interval : m_interval->findData(QStringLiteral("Monthly")));
}

BudgetLineDraft BudgetEditCell::row() const
{
    BudgetLineDraft row = m_row;
    row.tags = tagsString();
    row.limit = amountLimitNumber();
    row.interval = dateRangeString();
    return row;
}

QString BudgetEditCell::tagsString() const
{
    QStringList tokens;
    for (const QString& token : m_tags->text().split(QLatin1Char(','))) {
        if (!token.trimmed().isEmpty())
            tokens << token.trimmed();
    }
    return tokens.join(QStringLiteral(", "));
}

void BudgetEditCell::setTagsString(const QString& tags)
{
    m_tags->setText(tags.split(QStringLiteral(", "), Qt::SkipEmptyParts).join(QStringLiteral(", ")));
}

double BudgetEditCell::amountLimitNumber() const
{
    return BudgetLines::readLimit(m_limit->text(), m_delegate.amountFormatter());
}

QString BudgetEditCell::dateRangeString() const
{
    return m_interval->currentData().toString();
}

void BudgetEditCell::reformatLimit()
{
    if (!m_limit->text().trimmed().isEmpty())
        m_limit->setText(m_delegate.amountFormatter().format(amountLimitNumber()));
}

} // namespace qf
