#include "planning/ui/BudgetController2.h"

#include "app/Quillfen_AppDelegate.h"
#include "planning/BudgetLines.h"
#include "planning/ui/BudgetEditController.h"
#include "planning/ui/BudgetOverviewCell.h"
#include "store/ManagedObject.h"
#include "store/ManagedObjectContext.h"
#include "views/ui/IconLibrary.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace qf {

namespace {

const QString kDirections[2] = {QStringLiteral("Incoming"), QStringLiteral("Outgoing")};

} // namespace

BudgetController2::BudgetController2(Quillfen_AppDelegate& delegate, QWidget* parent)
    : QWidget(parent), m_delegate(delegate), m_pages(new QStackedWidget(this)),
      m_editor(new BudgetEditController(delegate, this))
{
    setObjectName(QStringLiteral("budgetScreen"));
    m_overview = buildOverview();
    m_pages->addWidget(m_overview);
    m_pages->addWidget(m_editor);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_pages);
    connect(m_editor, &BudgetEditController::doneRequested, this, &BudgetController2::editDone);
    connect(m_editor, &BudgetEditController::cancelRequested, this, &BudgetController2::cancelEdit);
}

QWidget* BudgetController2::buildOverview()
{
    auto* page = new QWidget(this);
    m_title = new QLabel(page);
    QFont big = m_title->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setBold(true);
    m_title->setFont(big);
    m_period = new QComboBox(page);
    m_period->setObjectName(QStringLiteral("budgetPeriod"));
    for (const QString& period : BudgetLines::periods())
        m_period->addItem(tr(qPrintable(period)), period);
    connect(m_period, &QComboBox::activated, this,
            [this](int index) { showDateRange(m_period->itemData(index).toString()); });
    m_edit = new QPushButton(quillfenIcon(QStringLiteral("edit")), tr("Edit Budget…"), page);
    m_edit->setObjectName(QStringLiteral("budgetEditButton"));
    connect(m_edit, &QPushButton::clicked, this, &BudgetController2::edit);

    auto* header = new QHBoxLayout;
    header->addWidget(m_title, 1);
    header->addWidget(new QLabel(tr("Period:"), page));
    header->addWidget(m_period);
    header->addSpacing(12);
    header->addWidget(m_edit);

    auto* lines = new QWidget(page);
    auto* linesLayout = new QVBoxLayout(lines);
    for (int i = 0; i < 2; ++i) {
        auto* heading = new QLabel(i == 0 ? tr("Incoming") : tr("Outgoing"), lines);
        QFont bold = heading->font();
        bold.setBold(true);
        heading->setFont(bold);
        linesLayout->addWidget(heading);
        m_lists[i] = new QVBoxLayout;
        m_lists[i]->setSpacing(0);
        linesLayout->addLayout(m_lists[i]);
        m_empty[i] = new QLabel(tr("No lines."), lines);
        m_empty[i]->setEnabled(false);
        linesLayout->addWidget(m_empty[i]);
        linesLayout->addSpacing(10);
    }
    linesLayout->addStretch();
    auto* scroll = new QScrollArea(page);
    scroll->setWidget(lines);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::StyledPanel);

    m_budgetedSavings = new QLabel(page);
    m_budgetedSavings->setObjectName(QStringLiteral("budgetedSavings"));
    m_actualSavings = new QLabel(page);
    m_actualSavings->setObjectName(QStringLiteral("actualSavings"));
    auto* savings = new QHBoxLayout;
    savings->addWidget(m_budgetedSavings);
    savings->addStretch();
    savings->addWidget(m_actualSavings);

    auto* layout = new QVBoxLayout(page);
    layout->addLayout(header);
    layout->addWidget(scroll, 1);
    layout->addLayout(savings);
    return page;
}

QWidget* BudgetController2::prepareMainViewWithVaultObject(ManagedObject* budget)
{
    const bool same = budget == m_vault;
    m_vault = budget;
    m_editor->setVault(budget);
    if (!budget)
        return this;
    QString period = budget->valueForKey(u"vault_budgetDateRange").toString();
    if (period.isEmpty()) {
        // No edit of the user's: the screen's own first choice.
        UndoManager& undo = m_delegate.managedObjectContext()->undoManager();
        undo.disableUndoRegistration();
        period = BudgetLines::period(*budget);
        budget->setValueForKey(u"vault_budgetDateRange", Value(period));
        undo.enableUndoRegistration();
    }
    m_period->setCurrentIndex(std::max(0, m_period->findData(period)));
    reloadLines();
    if (same && isEditing())
        return this;
    if (m_cells.empty()) {
        m_editor->setupNewEditRules();
        m_pages->setCurrentWidget(m_editor);
    } else {
        m_pages->setCurrentWidget(m_overview);
    }
    return this;
}

void BudgetController2::reloadLines()
{
    for (BudgetOverviewCell* cell : m_cells)
        delete cell;
    m_cells.clear();
    if (!m_vault)
        return;
    m_title->setText(m_vault->valueForKey(u"vault_title").toString());
    int column = 0;
    for (int i = 0; i < 2; ++i) {
        const auto lines = BudgetLines::lines(*m_delegate.managedObjectContext(), *m_vault, kDirections[i]);
        for (ManagedObject* line : lines) {
            auto* cell = new BudgetOverviewCell(m_delegate, *line, m_overview);
            connect(cell, &BudgetOverviewCell::activated, this, &BudgetController2::lineActivated);
            m_lists[i]->addWidget(cell);
            m_cells.push_back(cell);
            column = std::max(column, cell->amountTextWidth());
        }
        m_empty[i]->setVisible(lines.empty());
    }
    for (BudgetOverviewCell* cell : m_cells)
        cell->setAmountColumnWidth(column);
    m_budgetedSavings->setText(budgetedSavingsText());
    m_actualSavings->setText(actualSavingsText());
}

void BudgetController2::refresh()
{
    reloadLines();
}

QString BudgetController2::budgetedSavingsText() const
{
    return m_vault ? m_vault->valueForKey(u"vault_budgetTotalBudgetedSavingsString").toString() : QString();
}

QString BudgetController2::actualSavingsText() const
{
    return m_vault ? m_vault->valueForKey(u"vault_budgetTotalActualSavingsString").toString() : QString();
}

void BudgetController2::showDateRange(const QString& period)
{
    if (!m_vault || !BudgetLines::periods().contains(period))
        return;
    m_vault->setValueForKey(u"vault_budgetDateRange", Value(period));
    m_period->setCurrentIndex(m_period->findData(period));
    reloadLines();
}

void BudgetController2::edit()
{
    if (!m_vault)
        return;
    m_editor->prepareRulesEdit();
    m_pages->setCurrentWidget(m_editor);
}

bool BudgetController2::editDone()
{
    if (!m_editor->finishEditing()) {
        reloadLines();
        return false;
    }
    // The overview comes back only once the lines are on disk.
    if (!m_delegate.saveAction())
        return false;
    reloadLines();
    m_pages->setCurrentWidget(m_overview);
    return true;
}

void BudgetController2::cancelEdit()
{
    reloadLines();
    // A budget without lines has nothing to go back to.
    if (!m_cells.empty())
        m_pages->setCurrentWidget(m_overview);
}

bool BudgetController2::isEditing() const
{
    return m_pages->currentWidget() == m_editor;
}

ManagedObject* BudgetController2::addNewBudgetItemWithDirection(const QString& direction)
{
    if (!m_vault)
        return nullptr;
    ManagedObject* line = m_delegate.managedObjectContext()->insertNewObject(ManagedObjectModel::shared().budget());
    line->setValueForKey(u"budget_direction", Value(direction));
    line->setValueForKey(u"budget_vaultID", m_vault->valueForKey(u"vault_uniqueID"));
    return line;
}

void BudgetController2::removeAllBudgetItems()
{
    if (!m_vault)
        return;
    for (const QString& direction : kDirections) {
        for (ManagedObject* line : BudgetLines::lines(*m_delegate.managedObjectContext(), *m_vault, direction))
            m_delegate.managedObjectContext()->deleteObject(line);
    }
    reloadLines();
}

} // namespace qf
