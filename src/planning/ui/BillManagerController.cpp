#include "planning/ui/BillManagerController.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "common/DateFormatter.h"
#include "planning/BillPayment.h"
#include "planning/BillRecords.h"
#include "planning/ui/BillCell.h"
#include "planning/ui/PendingCellController.h"
#include "store/ManagedObjectContext.h"
#include "views/ui/IconLibrary.h"

#include <QApplication>
#include <QButtonGroup>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace qf {

namespace {

// A sheet with a title, a text and OK; Escape or closing cancels it.
bool runSheet(QWidget* parent, const QString& name, const QString& title, const QString& text, QWidget* extra = nullptr)
{
    QDialog sheet(parent);
    sheet.setObjectName(name);
    sheet.setWindowTitle(title);
    sheet.setWindowModality(Qt::WindowModal);
    auto* layout = new QVBoxLayout(&sheet);
    auto* heading = new QLabel(title, &sheet);
    QFont bold = heading->font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * 1.15);
    heading->setFont(bold);
    layout->addWidget(heading);
    auto* body = new QLabel(text, &sheet);
    body->setObjectName(QStringLiteral("sheetText"));
    body->setWordWrap(true);
    body->setMinimumWidth(380);
    layout->addWidget(body);
    if (extra) {
        extra->setParent(&sheet);
        layout->addWidget(extra);
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, &sheet);
    buttons->button(QDialogButtonBox::Ok)->setDefault(true);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &sheet, &QDialog::accept);
    layout->addWidget(buttons);
    return sheet.exec() == QDialog::Accepted;
}

} // namespace

BillManagerController::BillManagerController(Quillfen_AppDelegate& delegate, QWidget* parent)
    : QWidget(parent), m_delegate(delegate), m_blank(new BillCell(delegate, this)), m_rows(new QVBoxLayout),
      m_scroll(new QScrollArea(this)), m_filters(new QButtonGroup(this)), m_rangeButton(new QToolButton(this)),
      m_sortButton(new QToolButton(this)), m_payButton(new QToolButton(this)), m_removeButton(new QToolButton(this)),
      m_search(new QLineEdit(this))
{
    setObjectName(QStringLiteral("billManager"));
    auto* bar = new QHBoxLayout;
    bar->setSpacing(2);
    auto* add = new QToolButton(this);
    setUpBarButton(add, QStringLiteral("addBillButton"), QStringLiteral("add"), tr("Add Bill"));
    connect(add, &QToolButton::clicked, this, &BillManagerController::addBill);
    bar->addWidget(add);
    setUpBarButton(m_removeButton, QStringLiteral("removeBillButton"), QStringLiteral("remove"), tr("Remove Bill"));
    connect(m_removeButton, &QToolButton::clicked, this, &BillManagerController::removeBill);
    bar->addWidget(m_removeButton);
    bar->addSpacing(10);

    const struct {
        const char* icon;
        const char* text;
    } filters[] = {{"filter-all", QT_TR_NOOP("All")},
                   {"filter-incoming", QT_TR_NOOP("Incoming")},
                   {"filter-outgoing", QT_TR_NOOP("Outgoing")},
                   {"transfer", QT_TR_NOOP("Transfer")}};
    for (int i = 0; i < 4; ++i) {
        auto* button = new QToolButton(this);
        button->setIcon(quillfenIcon(QString::fromLatin1(filters[i].icon)));
        button->setText(tr(filters[i].text));
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        button->setCheckable(true);
        button->setAutoRaise(true);
        m_filters->addButton(button, i);
        bar->addWidget(button);
    }
    connect(m_filters, &QButtonGroup::idClicked, this,
            [this](int id) { selectFilterItem(BillListQuery::directionFilters().at(id)); });
    bar->addSpacing(10);

    auto* rangeMenu = new QMenu(this);
    for (const QString& item : BillDueRanges::items())
        rangeMenu->addAction(tr(qPrintable(item)), this, [this, item] { display(item); });
    m_rangeButton->setMenu(rangeMenu);
    m_rangeButton->setPopupMode(QToolButton::InstantPopup);
    m_rangeButton->setIcon(quillfenIcon(QStringLiteral("calendar")));
    m_rangeButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->addWidget(m_rangeButton);
    auto* sortMenu = new QMenu(this);
    for (const QString& item : BillListQuery::sortItems())
        sortMenu->addAction(tr(qPrintable(item)), this, [this, item] { sort(item); });
    m_sortButton->setMenu(sortMenu);
    m_sortButton->setPopupMode(QToolButton::InstantPopup);
    m_sortButton->setIcon(quillfenIcon(QStringLiteral("sort")));
    m_sortButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->addWidget(m_sortButton);
    bar->addStretch();

    m_payButton->setObjectName(QStringLiteral("payBillButton"));
    m_payButton->setText(tr("Pay"));
    m_payButton->setIcon(quillfenIcon(QStringLiteral("reconcile")));
    m_payButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    connect(m_payButton, &QToolButton::clicked, this, &BillManagerController::payBill);
    bar->addWidget(m_payButton);
    m_search->setPlaceholderText(tr("Search"));
    m_search->setClearButtonEnabled(true);
    m_search->addAction(quillfenIcon(QStringLiteral("search")), QLineEdit::LeadingPosition);
    m_search->setMinimumWidth(160);
    m_search->setMaximumWidth(240);
    connect(m_search, &QLineEdit::textChanged, this, &BillManagerController::search);
    bar->addWidget(m_search);

    auto* content = new QWidget(m_scroll);
    content->setAutoFillBackground(true);
    content->setBackgroundRole(QPalette::Base);
    m_rows->setContentsMargins(0, 0, 0, 0);
    m_rows->setSpacing(1);
    auto* outer = new QVBoxLayout(content);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addLayout(m_rows);
    outer->addStretch();
    m_scroll->setWidget(content);
    m_scroll->setWidgetResizable(true);
    m_blank->setParent(content);
    m_rows->addWidget(m_blank);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->addLayout(bar);
    layout->addWidget(m_scroll, 1);

    connect(m_delegate.managedObjectContext(), &ManagedObjectContext::objectsDidChange, this, [this] {
        if (m_vault)
            refresh();
    });
    updateButtons();
}

BillManagerController::~BillManagerController() = default;

QWidget* BillManagerController::prepareMainViewWithVaultObject(ManagedObject* vault)
{
    if (vault == m_vault && m_ranges) {
        refresh();
        return this;
    }
    m_vault = vault;
    m_ranges = std::make_unique<BillDueRanges>([this] { return m_delegate.now(); });
    m_settings = vault ? BillListSettings::ofVault(*vault) : BillListSettings();
    m_settings.searchText = m_search->text();
    refresh();
    return this;
}

void BillManagerController::storeChoices()
{
    if (m_vault)
        m_settings.storeOn(*m_vault);
}

void BillManagerController::display(const QString& rangeItem)
{
    m_settings.dateRangeType = rangeItem;
    storeChoices();
    refresh();
}

void BillManagerController::sort(const QString& sortItem)
{
    m_settings.sort = sortItem;
    storeChoices();
    refresh();
}

void BillManagerController::selectFilterItem(const QString& filter)
{
    m_settings.directionFilter = filter;
    storeChoices();
    refresh();
}

void BillManagerController::search(const QString& text)
{
    m_settings.searchText = text;
    refresh();
}

void BillManagerController::refresh()
{
    if (m_refreshing)
        return;
    m_refreshing = true;
    if (!m_ranges)
        m_ranges = std::make_unique<BillDueRanges>([this] { return m_delegate.now(); });
    m_arranged = BillListQuery::arrangedBills(*m_delegate.managedObjectContext(), m_settings, *m_ranges);
    // A row being edited stays listed until it is saved or cancelled.
    for (auto it = m_cells.constBegin(); it != m_cells.constEnd(); ++it) {
        if (it.value()->state() == BillCell::State::Edit && !it.key()->isDeleted() &&
            std::find(m_arranged.begin(), m_arranged.end(), it.key()) == m_arranged.end())
            m_arranged.push_back(it.key());
    }
    QHash<ManagedObject*, BillCell*> kept;
    for (ManagedObject* bill : m_arranged) {
        BillCell* cell = m_cells.take(bill);
        if (!cell) {
            cell = new BillCell(m_delegate, m_blank->parentWidget());
            cell->setBill(bill);
            connect(cell, &BillCell::clicked, this, &BillManagerController::selectCell);
            connect(cell, &BillCell::doubleClicked, this, [this](BillCell* c) {
                selectCell(c);
                if (c->state() == BillCell::State::Display)
                    c->edit();
            });
            connect(cell, &BillCell::saved, this, [this] { refresh(); });
        } else {
            cell->updateDisplay();
        }
        kept.insert(bill, cell);
    }
    for (BillCell* gone : std::as_const(m_cells))
        gone->deleteLater();
    m_cells = kept;
    while (m_rows->count() > 0)
        m_rows->takeAt(0);
    for (std::size_t i = 0; i < m_arranged.size(); ++i) {
        BillCell* cell = m_cells.value(m_arranged[i]);
        cell->setAlternate(i % 2 == 1);
        m_rows->addWidget(cell);
        cell->show();
    }
    m_blank->setVisible(m_arranged.empty());
    if (m_arranged.empty())
        m_rows->addWidget(m_blank);
    if (m_selected && !m_cells.contains(m_selected))
        m_selected = nullptr;
    for (BillCell* cell : std::as_const(m_cells))
        cell->setSelected(cell->bill() == m_selected);

    for (QAbstractButton* button : m_filters->buttons())
        button->setChecked(BillListQuery::directionFilters().value(m_filters->id(button)) == m_settings.directionFilter);
    m_rangeButton->setText(tr(qPrintable(m_settings.dateRangeType)));
    m_sortButton->setText(tr(qPrintable(m_settings.sort)));
    const int overdue = BillListQuery::overdueCount(*m_delegate.managedObjectContext(), m_delegate.now());
    QString line = m_arranged.size() == 1 ? tr("1 bill") : tr("%1 bills").arg(m_arranged.size());
    if (overdue > 0)
        line += overdue == 1 ? tr(", 1 overdue") : tr(", %1 overdue").arg(overdue);
    m_statusLine = line;
    Q_EMIT statusChanged(line);
    updateButtons();
    m_refreshing = false;
}

void BillManagerController::selectCell(BillCell* cell)
{
    m_selected = cell ? cell->bill() : nullptr;
    for (BillCell* c : std::as_const(m_cells))
        c->setSelected(c == cell);
    updateButtons();
}

bool BillManagerController::selectBill(ManagedObject* bill)
{
    BillCell* cell = m_cells.value(bill);
    if (!cell)
        return false;
    selectCell(cell);
    m_scroll->ensureWidgetVisible(cell);
    return true;
}

ManagedObject* BillManagerController::selectedBill() const
{
    return m_selected;
}

BillCell* BillManagerController::cellForBill(ManagedObject* bill) const
{
    return m_cells.value(bill);
}

void BillManagerController::updateButtons()
{
    m_removeButton->setEnabled(m_selected != nullptr);
    m_payButton->setEnabled(m_selected != nullptr);
}

ManagedObject* BillManagerController::addBill()
{
    ManagedObject* bill = BillRecords::addBill(*m_delegate.managedObjectContext(), m_delegate);
    refresh();
    // A new bill has no date yet, so only "All Items" lists it; the row is
    // shown for editing all the same.
    if (!m_cells.contains(bill)) {
        auto* cell = new BillCell(m_delegate, m_blank->parentWidget());
        cell->setBill(bill);
        connect(cell, &BillCell::clicked, this, &BillManagerController::selectCell);
        connect(cell, &BillCell::saved, this, [this] { refresh(); });
        m_cells.insert(bill, cell);
        m_blank->hide();
        m_rows->insertWidget(0, cell);
        cell->show();
    }
    BillCell* cell = m_cells.value(bill);
    cell->edit();
    selectBill(bill);
    return bill;
}

void BillManagerController::removeBill()
{
    ManagedObject* bill = m_selected;
    if (!bill)
        return;
    BillRecords::removeBill(*m_delegate.managedObjectContext(), bill);
    m_selected = nullptr;
    if (BillCell* cell = m_cells.take(bill))
        cell->deleteLater();
    refresh();
}

void BillManagerController::payBill()
{
    if (m_selected)
        payOffBillWithObject(m_selected);
}

bool BillManagerController::payOffBillWithObject(ManagedObject* bill)
{
    if (!bill)
        return false;
    ManagedObjectContext& context = *m_delegate.managedObjectContext();
    ManagedObject* earlier = nullptr;
    switch (BillPayment::check(context, *bill, m_delegate.now(), &earlier)) {
    case BillPayment::Check::MissingAccount:
        runSheet(window(), QStringLiteral("missingAccountSheet"), tr(qPrintable(BillPayment::missingAccountTitle())),
                 tr(qPrintable(BillPayment::missingAccountText())));
        return false;
    case BillPayment::Check::NoNextDate:
        return false;
    case BillPayment::Check::PaidToday: {
        const Value when = earlier->valueForKey(u"trans_date");
        QMessageBox ask(QMessageBox::Question, tr("Pay Again?"),
                        tr("“%1” was already paid today: %2 on %3.")
                            .arg(bill->valueForKey(u"trans_title").toString(),
                                 m_delegate.amountFormatter().format(earlier->valueForKey(u"trans_amount").toDouble()),
                                 m_delegate.longDateFormatter().format(when.toDate())),
                        QMessageBox::Yes | QMessageBox::No, window());
        ask.setObjectName(QStringLiteral("payAgainQuestion"));
        ask.setInformativeText(tr("Do you want to pay it once more?"));
        ask.setDefaultButton(QMessageBox::No);
        ask.setWindowModality(Qt::WindowModal);
        if (ask.exec() != QMessageBox::Yes)
            return true;
        break;
    }
    case BillPayment::Check::Payable:
        break;
    }
    auto* shown = new PendingCellController(m_delegate);
    shown->setObjectName(QStringLiteral("paidBill"));
    shown->setTransaction(bill);
    shown->setState(QStringLiteral("Plain Main"));
    const QString text = BillPayment::begin(*bill);
    if (runSheet(window(), QStringLiteral("billPaidSheet"), tr(qPrintable(BillPayment::paidTitle())),
                 tr(qPrintable(text)), shown)) {
        if (m_selected == bill && bill->valueForKey(u"trans_reoccurrence").toString() == QLatin1String("Never"))
            m_selected = nullptr;
        BillPayment::complete(context, m_delegate, *bill);
    }
    refresh();
    return true;
}

} // namespace qf
