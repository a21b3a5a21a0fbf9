#include "views/ui/LibraryController.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "store/ManagedObjectContext.h"
#include "views/TransactionListActions.h"
#include "views/ui/IconLibrary.h"
#include "views/ui/ReconcileDialog.h"
#include "views/ui/TransactionIconView.h"
#include "views/ui/TransactionTableModel.h"

#include <QActionEvent>
#include <QApplication>
#include <QButtonGroup>
#include <QDateTime>
#include <QDesktopServices>
#include <QFrame>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QStackedWidget>
#include <QTableView>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>
#include <tuple>

namespace qf {

namespace {

const QStringList kRanges{QStringLiteral("All Transactions"), QStringLiteral("This Month"),
                          QStringLiteral("Last Month"), QStringLiteral("This Year"), QStringLiteral("Last Year"),
                          QStringLiteral("Custom Range")};
const QStringList kSorts{QStringLiteral("Date"), QStringLiteral("Title"), QStringLiteral("Amount"),
                         QStringLiteral("Tags")};
const char* const kDirectionFilters[] = {"FilterAll", "FilterIncoming", "FilterOutgoing"};
const char* const kTypeFilters[] = {"FilterAll", "FilterPaid", "FilterPending"};
const QString kIconView = QStringLiteral("IconView");
const QString kListView = QStringLiteral("ListView");

} // namespace

LibraryController::LibraryController(Quillfen_AppDelegate& delegate, QWidget* parent)
    : QWidget(parent), m_delegate(delegate), m_layout(new QVBoxLayout(this)), m_bar(new QHBoxLayout),
      m_model(new TransactionTableModel(this)), m_table(new QTableView(this)), m_icons(new TransactionIconView(this)), m_presentation(new QStackedWidget(this)),
      m_viewButtons(new QButtonGroup(this)), m_search(new QLineEdit(this)), m_directionButtons(new QButtonGroup(this)),
      m_typeButtons(new QButtonGroup(this)), m_rangeButton(new QToolButton(this)), m_sortButton(new QToolButton(this)),
      m_reconcileButton(new QToolButton(this)), m_filesButton(new QToolButton(this))
{
    QHBoxLayout* bar = m_bar;
    bar->setSpacing(2);
    auto* add = new QToolButton(this);
    setUpBarButton(add, QStringLiteral("addButton"), QStringLiteral("add"), tr("New Transaction"));
    connect(add, &QToolButton::clicked, this, &LibraryController::addRequested);
    bar->addWidget(add);
    auto* remove = new QToolButton(this);
    setUpBarButton(remove, QStringLiteral("removeButton"), QStringLiteral("remove"), tr("Delete Transaction"));
    connect(remove, &QToolButton::clicked, this, &LibraryController::removeTransaction);
    bar->addWidget(remove);
    bar->addSpacing(10);
    for (const auto& [icon, text, tip, viewBy] :
         {std::tuple{"view-list", QT_TR_NOOP("List"), QT_TR_NOOP("View as List"), kListView},
          std::tuple{"view-icons", QT_TR_NOOP("Icons"), QT_TR_NOOP("View as Icons"), kIconView}}) {
        auto* button = new QToolButton(this);
        button->setIcon(quillfenIcon(QString::fromLatin1(icon)));
        button->setText(tr(text));
        button->setToolTip(tr(tip));
        button->setCheckable(true);
        button->setAutoRaise(true);
        connect(button, &QToolButton::clicked, this, [this, viewBy = viewBy] { setViewBy(viewBy); });
        m_viewButtons->addButton(button);
        bar->addWidget(button);
    }
    bar->addSpacing(10);
    bar->addWidget(filterButton(QStringLiteral("filter-all"), tr("All"), m_directionButtons, 0,
                                tr("Incoming and Outgoing")));
    bar->addWidget(filterButton(QStringLiteral("filter-incoming"), tr("Incoming"), m_directionButtons, 1));
    bar->addWidget(filterButton(QStringLiteral("filter-outgoing"), tr("Outgoing"), m_directionButtons, 2));
    bar->addSpacing(10);
    bar->addWidget(filterButton(QStringLiteral("filter-all"), tr("All"), m_typeButtons, 3,
                                tr("Reconciled and Pending")));
    bar->addWidget(filterButton(QStringLiteral("filter-paid"), tr("Reconciled"), m_typeButtons, 4));
    bar->addWidget(filterButton(QStringLiteral("filter-pending"), tr("Pending"), m_typeButtons, 5));
    bar->addSpacing(10);

    auto* rangeMenu = new QMenu(this);
    for (const QString& range : kRanges)
        rangeMenu->addAction(tr(qPrintable(range)), this, [this, range] { displayDateRange(range); });
    m_rangeButton->setMenu(rangeMenu);
    m_rangeButton->setPopupMode(QToolButton::InstantPopup);
    m_rangeButton->setIcon(quillfenIcon(QStringLiteral("calendar")));
    m_rangeButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->addWidget(m_rangeButton);

    auto* sortMenu = new QMenu(this);
    for (const QString& sort : kSorts)
        sortMenu->addAction(tr(qPrintable(sort)), this, [this, sort] { sortTransBy(sort); });
    m_sortButton->setMenu(sortMenu);
    m_sortButton->setPopupMode(QToolButton::InstantPopup);
    m_sortButton->setIcon(quillfenIcon(QStringLiteral("sort")));
    m_sortButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->addWidget(m_sortButton);
    bar->addStretch();

    m_reconcileButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_reconcileButton->setIcon(quillfenIcon(QStringLiteral("reconcile")));
    connect(m_reconcileButton, &QToolButton::clicked, this, &LibraryController::reconcileSelected);
    bar->addWidget(m_reconcileButton);
    m_filesButton->setIcon(quillfenIcon(QStringLiteral("attachment")));
    m_filesButton->setToolTip(tr("Attached Files"));
    m_filesButton->setPopupMode(QToolButton::InstantPopup);
    m_filesButton->setMenu(new QMenu(this));
    bar->addWidget(m_filesButton);
    auto* transfer = new QToolButton(this);
    transfer->setObjectName(QStringLiteral("transferButton"));
    transfer->setIcon(quillfenIcon(QStringLiteral("transfer")));
    transfer->setToolTip(tr("Transfer Between Accounts"));
    connect(transfer, &QToolButton::clicked, this, &LibraryController::transferRequested);
    bar->addWidget(transfer);

    m_search->setPlaceholderText(tr("Search"));
    m_search->setClearButtonEnabled(true);
    m_search->addAction(quillfenIcon(QStringLiteral("search")), QLineEdit::LeadingPosition);
    m_search->setMinimumWidth(180);
    m_search->setMaximumWidth(260);
    bar->addWidget(m_search);
    connect(m_search, &QLineEdit::textChanged, this, &LibraryController::filterWithSearchString);

    m_table->setModel(m_model);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_table->setAlternatingRowColors(true);
    m_table->setShowGrid(false);
    m_table->setWordWrap(false);
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 8);
    m_table->horizontalHeader()->setSectionResizeMode(TransactionTableModel::TitleColumn, QHeaderView::Stretch);
    m_table->horizontalHeader()->setHighlightSections(false);
    m_table->setDragEnabled(true);
    m_table->setDragDropMode(QAbstractItemView::DragOnly);
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        setupReconcileButton();
        setupFilesPopup();
        Q_EMIT selectionChanged();
    });

    // The cards share the table's rows and selection: switching keeps the
    // selected transactions, and every command reads one selection.
    m_icons->setModel(m_model);
    m_icons->setSelectionModel(m_table->selectionModel());
    m_table->installEventFilter(this);
    for (QAbstractItemView* view : {static_cast<QAbstractItemView*>(m_table), static_cast<QAbstractItemView*>(m_icons)}) {
        connect(view, &QAbstractItemView::activated, this, [this](const QModelIndex& index) {
            if (ManagedObject* t = m_model->transactionAt(index.row()))
                Q_EMIT transactionActivated(t);
        });
    }
    m_presentation->addWidget(m_table);
    m_presentation->addWidget(m_icons);

    m_conditionBar = new QFrame(this);
    m_conditionBar->setObjectName(QStringLiteral("conditionBar"));
    m_conditionBar->setFrameShape(QFrame::StyledPanel);
    m_conditionText = new QLabel(m_conditionBar);
    m_conditionText->setObjectName(QStringLiteral("conditionText"));
    m_leaveCondition = new QToolButton(m_conditionBar);
    m_leaveCondition->setObjectName(QStringLiteral("leaveCondition"));
    connect(m_leaveCondition, &QToolButton::clicked, this, [this] {
        m_condition = {};
        m_conditionBar->hide();
        m_query.extra = {};
        Q_EMIT conditionLeft();
    });
    auto* conditionLayout = new QHBoxLayout(m_conditionBar);
    conditionLayout->setContentsMargins(8, 4, 4, 4);
    conditionLayout->addWidget(m_conditionText, 1);
    conditionLayout->addWidget(m_leaveCondition);
    m_conditionBar->hide();

    m_layout->setContentsMargins(6, 6, 6, 6);
    m_layout->addWidget(m_conditionBar);
    m_layout->addLayout(bar);
    m_layout->addWidget(m_presentation, 1);

    connect(m_directionButtons, &QButtonGroup::idClicked, this,
            [this](int id) { setDirectionFilter(QString::fromLatin1(kDirectionFilters[id])); });
    connect(m_typeButtons, &QButtonGroup::idClicked, this,
            [this](int id) { setTypeFilter(QString::fromLatin1(kTypeFilters[id - 3])); });
    setupReconcileButton();
    setupFilesPopup();
}

LibraryController::~LibraryController() = default;

QToolButton* LibraryController::filterButton(const QString& icon, const QString& text, QButtonGroup* group, int tag,
                                             const QString& tip)
{
    auto* button = new QToolButton(this);
    button->setIcon(quillfenIcon(icon));
    button->setText(text);
    button->setToolTip(tip.isEmpty() ? text : tip);
    button->setCheckable(true);
    button->setAutoRaise(true);
    // The bar may narrow the button to its icon (see fitFilterButtons).
    button->setToolButtonStyle(Qt::ToolButtonIconOnly);
    button->setMinimumWidth(button->sizeHint().width());
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    group->addButton(button, tag);
    m_filterButtons.push_back(button);
    return button;
}

void LibraryController::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    fitFilterButtons();
}

void LibraryController::fitFilterButtons()
{
    // With their names the filter buttons take a third of the bar; where the
    // bar has no room for them, they show their icons alone (the names stay
    // as tool tips) rather than crowding out the source list.
    const QMargins margins = m_layout->contentsMargins();
    const int room = width() - margins.left() - margins.right();
    const int needed = m_bar->sizeHint().width() + (m_compactFilters ? m_compactSavings : 0);
    const bool compact = room < needed;
    if (compact == m_compactFilters)
        return;
    auto total = [this] {
        int width = 0;
        for (QToolButton* button : m_filterButtons)
            width += button->sizeHint().width();
        return width;
    };
    const int before = total();
    for (QToolButton* button : m_filterButtons)
        button->setToolButtonStyle(compact ? Qt::ToolButtonIconOnly : Qt::ToolButtonTextBesideIcon);
    if (compact)
        m_compactSavings = before - total();
    m_compactFilters = compact;
}

void LibraryController::prepareWithVaultObject(ManagedObject* vault, ValueDictionary addDefaults)
{
    setInfoPane(nullptr);
    setDetailsPane(nullptr);
    if (vault != m_vault) {
        m_condition = {};
        m_conditionBar->hide();
    }
    m_vault = vault;
    m_addDefaults = std::move(addDefaults);
    if (!vault)
        return;
    setupViewBy();
    m_query = ListQuery::forVault(*vault, ListSettings::ofVault(*vault));
    m_query.settings.searchText = m_search->text();
    m_query.extra = m_condition;
    // A vault without a list of its own (a budget) shows the condition over
    // every transaction, with the library's filters.
    if (m_query.scope.all.isNull() && !m_condition.isNull())
        m_query.scope = TransactionQuery::libraryPredicates();
    const AmountFormatter& amounts = m_delegate.amountFormatter();
    m_query.amountMayContain = [&amounts](const QString& text) { return amounts.mayContain(text); };
    m_delegate.setSelectedVaultID(vault->valueForKey(u"vault_uniqueID").toString());
    refresh();
}

void LibraryController::setInfoPane(QWidget* pane)
{
    if (pane == m_infoPane)
        return;
    if (m_infoPane) {
        m_layout->removeWidget(m_infoPane);
        m_infoPane->hide();
    }
    m_infoPane = pane;
    if (pane) {
        m_layout->insertWidget(0, pane);
        pane->show();
    }
}

void LibraryController::setCondition(const Predicate& condition, const QString& description,
                                     const QString& leaveTitle)
{
    m_condition = condition;
    m_conditionText->setText(description);
    m_leaveCondition->setText(leaveTitle);
    m_conditionBar->setVisible(!condition.isNull());
    if (m_vault)
        prepareWithVaultObject(m_vault, m_addDefaults);
}

QString LibraryController::conditionDescription() const
{
    return m_condition.isNull() ? QString() : m_conditionText->text();
}

void LibraryController::setDetailsPane(QWidget* pane)
{
    if (pane == m_detailsPane)
        return;
    if (m_detailsPane) {
        m_layout->removeWidget(m_detailsPane);
        m_detailsPane->hide();
    }
    m_detailsPane = pane;
    if (pane) {
        m_layout->addWidget(pane);
        pane->show();
    }
}

bool LibraryController::isShowingIcons() const
{
    return m_presentation->currentWidget() == m_icons;
}

QAbstractItemView* LibraryController::currentView() const
{
    return isShowingIcons() ? static_cast<QAbstractItemView*>(m_icons) : static_cast<QAbstractItemView*>(m_table);
}

void LibraryController::switchToListView()
{
    setViewBy(kListView);
}

void LibraryController::switchToIconView()
{
    setViewBy(kIconView);
}

void LibraryController::setViewBy(const QString& viewBy)
{
    if (!m_vault)
        return;
    if (m_vault->valueForKey(u"vault_viewBy").toString() != viewBy) {
        // How a list is looked at is no edit of the ledger: it is stored, but
        // leaves nothing to undo.
        UndoManager& undo = m_delegate.managedObjectContext()->undoManager();
        undo.disableUndoRegistration();
        m_vault->setValueForKey(u"vault_viewBy", Value(viewBy));
        undo.enableUndoRegistration();
    }
    setupViewBy();
}

void LibraryController::setupViewBy()
{
    const bool icons = m_vault && m_vault->valueForKey(u"vault_viewBy").toString() == kIconView;
    const bool hadFocus = currentView()->hasFocus();
    m_presentation->setCurrentWidget(icons ? static_cast<QWidget*>(m_icons) : m_table);
    m_viewButtons->buttons().at(icons ? 1 : 0)->setChecked(true);
    const QModelIndex current = m_table->selectionModel()->currentIndex();
    if (current.isValid())
        currentView()->scrollTo(current);
    if (hadFocus)
        currentView()->setFocus();
    Q_EMIT presentationChanged();
}

bool LibraryController::eventFilter(QObject* watched, QEvent* event)
{
    // Commands given to the table (Delete) act in the card view as well.
    if (watched == m_table && event->type() == QEvent::ActionAdded)
        m_icons->addAction(static_cast<QActionEvent*>(event)->action());
    else if (watched == m_table && event->type() == QEvent::ActionRemoved)
        m_icons->removeAction(static_cast<QActionEvent*>(event)->action());
    return QWidget::eventFilter(watched, event);
}

void LibraryController::filterWithSearchString(const QString& text)
{
    m_query.settings.searchText = text;
    refresh();
}

void LibraryController::refresh()
{
    if (!m_vault)
        return;
    const QString selected = selectedTransaction() ? selectedTransaction()->valueForKey(u"trans_uniqueID").toString()
                                                   : QString();
    ManagedObjectContext& context = *m_delegate.managedObjectContext();
    m_query.range = TransactionQuery::dateRangeBounds(m_query.settings, m_delegate.now(), [&context] {
        return TransactionQuery::earliestTransactionDate(context);
    });
    m_model->setTransactions(TransactionQuery::arrangedTransactions(context, m_query, &m_indexes));
    m_balances = TransactionQuery::balances(m_model->transactions());
    updateButtons();
    if (!selected.isEmpty())
        selectTransactionWithID(selected);
    setupReconcileButton();
    setupFilesPopup();
    Q_EMIT balancesChanged(balanceLine());
}

QString LibraryController::balanceLine() const
{
    const AmountFormatter& f = m_delegate.amountFormatter();
    const QString count = m_balances.count == 1 ? tr("1 transaction") : tr("%1 transactions").arg(m_balances.count);
    return count + QStringLiteral("   ·   ") +
           tr("Total: %1").arg(f.format(m_balances.total)) + QStringLiteral("   ·   ") +
           tr("Incoming: %1").arg(f.format(m_balances.incoming)) + QStringLiteral("   ·   ") +
           tr("Outgoing: %1").arg(f.format(m_balances.outgoing));
}

void LibraryController::updateButtons()
{
    const ListSettings& s = m_query.settings;
    for (int i = 0; i < 3; ++i) {
        m_directionButtons->button(i)->setChecked(s.directionFilter == QLatin1String(kDirectionFilters[i]));
        m_typeButtons->button(i + 3)->setChecked(s.typeFilter == QLatin1String(kTypeFilters[i]));
    }
    m_rangeButton->setText(tr(qPrintable(s.dateRangeType)));
    m_sortButton->setText(tr("Sort: %1").arg(tr(qPrintable(s.sort))));
}

void LibraryController::setDirectionFilter(const QString& filter)
{
    if (!m_vault)
        return;
    m_vault->setValueForKey(u"vault_directionFilter", Value(filter));
    m_query.settings.directionFilter = filter;
    refresh();
}

void LibraryController::setTypeFilter(const QString& filter)
{
    if (!m_vault)
        return;
    m_vault->setValueForKey(u"vault_typeFilter", Value(filter));
    m_query.settings.typeFilter = filter;
    refresh();
}

void LibraryController::displayDateRange(const QString& item)
{
    if (!m_vault)
        return;
    if (item == QLatin1String("Custom Range")) {
        ManagedObjectContext& context = *m_delegate.managedObjectContext();
        const AbsoluteTime from = m_query.settings.customFrom.value_or(
            TransactionQuery::earliestTransactionDate(context).value_or(m_delegate.now()));
        const AbsoluteTime to = m_query.settings.customTo.value_or(m_delegate.now());
        auto range = ReconcileDialog::askForRange(this, from, to);
        if (!range)
            return;
        m_vault->setValueForKey(u"vault_dateRangeFrom", Value::date(range->first));
        m_vault->setValueForKey(u"vault_dateRangeTo", Value::date(range->second));
        m_query.settings.customFrom = range->first;
        m_query.settings.customTo = range->second;
    }
    m_vault->setValueForKey(u"vault_dateRangeType", Value(item));
    m_query.settings.dateRangeType = item;
    refresh();
}

void LibraryController::sortTransBy(const QString& title)
{
    if (!m_vault)
        return;
    m_vault->setValueForKey(u"vault_transSort", Value(title));
    m_query.settings.sort = title;
    refresh();
}

std::vector<ManagedObject*> LibraryController::selectedTransactions() const
{
    std::vector<ManagedObject*> selected;
    for (const QModelIndex& index : m_table->selectionModel()->selectedRows()) {
        if (ManagedObject* t = m_model->transactionAt(index.row()))
            selected.push_back(t);
    }
    return selected;
}

ManagedObject* LibraryController::selectedTransaction() const
{
    const QModelIndexList rows = m_table->selectionModel()->selectedRows();
    return rows.isEmpty() ? nullptr : m_model->transactionAt(rows.first().row());
}

bool LibraryController::selectTransactionWithID(const QString& uniqueID)
{
    const int row = m_model->rowOfTransaction(uniqueID);
    if (row < 0)
        return false;
    selectTransactionAtRow(row);
    currentView()->setFocus();
    return true;
}

void LibraryController::selectTransactionAtRow(int row)
{
    // Through the selection model: the table's own selectRow() reads the
    // keyboard modifiers and the header's layout, which a hidden table in
    // card view may not have.
    const QModelIndex index = m_model->index(row, TransactionTableModel::TitleColumn);
    if (!index.isValid())
        return;
    m_table->selectionModel()->setCurrentIndex(
        index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    currentView()->scrollTo(index);
}

const std::vector<ManagedObject*>& LibraryController::arrangedTransObjects() const
{
    return m_model->transactions();
}

void LibraryController::removeTransaction()
{
    const std::vector<ManagedObject*> selected = selectedTransactions();
    if (!m_vault || selected.empty()) {
        QApplication::beep();
        return;
    }
    const DeleteQuestion question = TransactionListActions::deleteQuestion(m_vault->valueForKey(u"vault_type").toString());
    if (question.ask) {
        QMessageBox box(QMessageBox::Warning, question.title, question.title, QMessageBox::Yes | QMessageBox::No, this);
        box.setInformativeText(question.text);
        box.setDefaultButton(QMessageBox::Yes);
        box.setWindowModality(Qt::WindowModal);
        if (box.exec() != QMessageBox::Yes)
            return;
    }
    TransactionListActions::removeTransactions(*m_delegate.managedObjectContext(), *m_vault, selected);
    refresh();
}

void LibraryController::duplicate()
{
    const std::vector<ManagedObject*> selected = selectedTransactions();
    if (selected.empty()) {
        QApplication::beep();
        return;
    }
    auto copies = TransactionListActions::duplicate(m_delegate, selected);
    if (!copies)
        QMessageBox::warning(this, tr("Could Not Save"), copies.message());
    refresh();
}

void LibraryController::markAsPending()
{
    TransactionListActions::markAsPending(selectedTransactions());
    refresh();
}

void LibraryController::reconcileSelected()
{
    ManagedObject* t = selectedTransaction();
    const ReconcileButton kind = TransactionListActions::reconcileButton(t);
    if (kind == ReconcileButton::Pay) {
        Q_EMIT payRequested(t);
        return;
    }
    if (kind != ReconcileButton::Reconcile)
        return;
    auto date = ReconcileDialog::askForDate(this, t->valueForKey(u"trans_date").toDate());
    if (!date)
        return;
    TransactionListActions::reconcile(*t, *date);
    refresh();
}

void LibraryController::setupReconcileButton()
{
    const ReconcileButton kind = TransactionListActions::reconcileButton(selectedTransaction());
    m_reconcileButton->setVisible(kind != ReconcileButton::Hidden);
    m_reconcileButton->setText(kind == ReconcileButton::Pay ? tr("Pay") : tr("Reconcile"));
    fitFilterButtons();
}

void LibraryController::setupFilesPopup()
{
    QMenu* menu = m_filesButton->menu();
    menu->clear();
    ManagedObject* t = selectedTransaction();
    std::vector<ManagedObject*> files;
    if (t) {
        files = m_delegate.fetchObjectsWithEntityName(QStringLiteral("AttachmentEntity"),
                                                      QStringLiteral("attachment_transParentID"),
                                                      t->valueForKey(u"trans_uniqueID"));
    }
    if (files.empty()) {
        menu->addAction(tr("No Files Attached"))->setEnabled(false);
        return;
    }
    for (ManagedObject* file : files) {
        const QString path = m_delegate.obtainAttachmentPathFrom(file->valueForKey(u"attachment_path").toString());
        QAction* open = menu->addAction(file->valueForKey(u"attachment_title").toString(), this,
                                        [path] { QDesktopServices::openUrl(QUrl::fromLocalFile(path)); });
        // A stored path that leads out of the attachments folder opens nothing.
        open->setEnabled(!path.isEmpty());
    }
}

} // namespace qf
