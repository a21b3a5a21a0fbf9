#include "planning/ui/BudgetEditController.h"

#include "app/Quillfen_AppDelegate.h"
#include "app/ui/ErrorController.h"
#include "planning/BudgetLines.h"
#include "planning/ui/BudgetEditCell.h"
#include "store/ManagedObject.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace qf {

namespace {

const QString kIncoming = QStringLiteral("Incoming");
const QString kOutgoing = QStringLiteral("Outgoing");

} // namespace

BudgetEditController::BudgetEditController(Quillfen_AppDelegate& delegate, QWidget* parent)
    : QWidget(parent), m_delegate(delegate), m_name(new QLineEdit(this)), m_done(new QPushButton(tr("Done"), this)),
      m_cancel(new QPushButton(tr("Cancel"), this))
{
    setObjectName(QStringLiteral("budgetEdit"));
    m_name->setObjectName(QStringLiteral("budgetName"));
    m_done->setObjectName(QStringLiteral("budgetDone"));
    m_done->setDefault(true);
    m_cancel->setObjectName(QStringLiteral("budgetCancel"));
    connect(m_done, &QPushButton::clicked, this, &BudgetEditController::doneRequested);
    connect(m_cancel, &QPushButton::clicked, this, &BudgetEditController::cancelRequested);

    auto* name = new QFormLayout;
    name->addRow(tr("Budget name:"), m_name);
    auto* help = new QLabel(tr("A line adds up the transactions that carry all of its tags. "
                               "Its limit is for each day, week, two weeks, month or year, as chosen."),
                            this);
    help->setWordWrap(true);
    help->setEnabled(false);

    auto* lines = new QWidget(this);
    auto* linesLayout = new QVBoxLayout(lines);
    linesLayout->addWidget(section(tr("Incoming"), &m_incomingLayout));
    linesLayout->addWidget(section(tr("Outgoing"), &m_outgoingLayout));
    linesLayout->addStretch();
    auto* scroll = new QScrollArea(this);
    scroll->setWidget(lines);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_cancel);
    buttons->addWidget(m_done);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(name);
    layout->addWidget(help);
    layout->addWidget(scroll, 1);
    layout->addLayout(buttons);
}

QWidget* BudgetEditController::section(const QString& title, QVBoxLayout** rows)
{
    auto* box = new QWidget(this);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 6, 0, 6);
    auto* heading = new QLabel(title, box);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    layout->addWidget(heading);
    *rows = new QVBoxLayout;
    (*rows)->setSpacing(4);
    layout->addLayout(*rows);
    return box;
}

const QList<BudgetEditCell*>& BudgetEditController::rows(const QString& direction) const
{
    return direction == kIncoming ? m_incoming : m_outgoing;
}

void BudgetEditController::clearRows()
{
    for (BudgetEditCell* cell : m_incoming + m_outgoing)
        cell->deleteLater();
    for (BudgetEditCell* cell : m_incoming + m_outgoing)
        cell->hide();
    m_incoming.clear();
    m_outgoing.clear();
    ErrorController::sharedInstance().closeErrorPanel();
}

BudgetEditCell* BudgetEditController::addRow(const BudgetLineDraft& row, int at)
{
    auto* cell = new BudgetEditCell(m_delegate, row, this);
    QList<BudgetEditCell*>& list = row.direction == kIncoming ? m_incoming : m_outgoing;
    QVBoxLayout* layout = row.direction == kIncoming ? m_incomingLayout : m_outgoingLayout;
    if (at < 0 || at > list.size())
        at = static_cast<int>(list.size());
    list.insert(at, cell);
    layout->insertWidget(at, cell);
    connect(cell, &BudgetEditCell::addRequested, this, [this, cell](const QString& direction) {
        QList<BudgetEditCell*>& own = direction == kIncoming ? m_incoming : m_outgoing;
        BudgetEditCell* added = addRow(BudgetLines::newRow(m_delegate, direction), own.indexOf(cell) + 1);
        added->tagField()->setFocus();
    });
    connect(cell, &BudgetEditCell::removeRequested, this, &BudgetEditController::removeRule);
    return cell;
}

void BudgetEditController::setupNewEditRules()
{
    clearRows();
    m_name->setText(m_vault ? m_vault->valueForKey(u"vault_title").toString() : QString());
    addRow(BudgetLines::newRow(m_delegate, kIncoming));
    addRow(BudgetLines::newRow(m_delegate, kOutgoing));
}

void BudgetEditController::prepareRulesEdit()
{
    clearRows();
    if (!m_vault)
        return;
    m_name->setText(m_vault->valueForKey(u"vault_title").toString());
    for (const BudgetLineDraft& row : BudgetLines::editRows(*m_delegate.managedObjectContext(), *m_vault))
        addRow(row);
}

BudgetEditCell* BudgetEditController::createNewControllerWithDirection(const QString& direction)
{
    BudgetEditCell* cell = addRow(BudgetLines::newRow(m_delegate, direction));
    cell->tagField()->setFocus();
    return cell;
}

void BudgetEditController::removeRule(BudgetEditCell* cell)
{
    if (!m_incoming.removeOne(cell) && !m_outgoing.removeOne(cell))
        return;
    if (ErrorController::sharedInstance().field() && cell->isAncestorOf(ErrorController::sharedInstance().field()))
        ErrorController::sharedInstance().closeErrorPanel();
    cell->hide();
    cell->deleteLater();
}

bool BudgetEditController::finishEditing()
{
    if (!m_vault)
        return false;
    std::vector<BudgetLineDraft> incoming;
    std::vector<BudgetLineDraft> outgoing;
    for (BudgetEditCell* cell : m_incoming)
        incoming.push_back(cell->row());
    for (BudgetEditCell* cell : m_outgoing)
        outgoing.push_back(cell->row());
    const auto problem =
        BudgetLines::finishEditing(*m_delegate.managedObjectContext(), *m_vault, m_name->text().trimmed(), incoming, outgoing);
    if (!problem)
        return true;
    QWidget* field = nullptr;
    switch (problem->field) {
    case BudgetEditProblem::Name:
        field = m_name;
        break;
    case BudgetEditProblem::Tags:
    case BudgetEditProblem::Limit: {
        BudgetEditCell* cell = rows(problem->direction).at(problem->row);
        field = problem->field == BudgetEditProblem::Tags ? static_cast<QWidget*>(cell->tagField()) : cell->limitField();
        QApplication::beep();
        break;
    }
    case BudgetEditProblem::NoLines:
        QApplication::beep();
        break;
    }
    if (field) {
        field->setFocus();
        ErrorController::sharedInstance().displayErrorFromField(field);
    }
    return false;
}

} // namespace qf
