#include "views/ui/SmartController.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "common/DateFormatter.h"
#include "store/ManagedObject.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "views/SmartViewQuery.h"
#include "views/ui/IconLibrary.h"
#include "views/ui/LibraryController.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace qf {

SmartController::SmartController(Quillfen_AppDelegate& delegate, LibraryController& library, QWidget* parent)
    : QFrame(parent), m_delegate(delegate), m_library(library), m_pages(new QStackedWidget(this)),
      m_blank(new QWidget(this)), m_info(new QWidget(this)), m_infoTitle(new QLabel(m_info)),
      m_infoText(new QLabel(m_info))
{
    setObjectName(QStringLiteral("smartDetails"));
    setFrameShape(QFrame::StyledPanel);
    m_blank->setObjectName(QStringLiteral("Blank"));
    m_info->setObjectName(QStringLiteral("Smart Info"));

    auto* blankText = new QLabel(tr("No transaction matches this folder's rules."), m_blank);
    blankText->setObjectName(QStringLiteral("blankText"));
    auto* edit = new QPushButton(quillfenIcon(QStringLiteral("edit")), tr("Edit Rules…"), m_blank);
    edit->setObjectName(QStringLiteral("blankEditRules"));
    connect(edit, &QPushButton::clicked, this, [this] {
        if (isActive())
            Q_EMIT editRulesRequested(m_vault);
    });
    auto* blank = new QHBoxLayout(m_blank);
    blank->addStretch();
    blank->addWidget(blankText);
    blank->addWidget(edit);
    blank->addStretch();

    QFont bold = m_infoTitle->font();
    bold.setBold(true);
    m_infoTitle->setFont(bold);
    m_infoTitle->setObjectName(QStringLiteral("smartInfoTitle"));
    m_infoText->setObjectName(QStringLiteral("smartInfoText"));
    m_infoText->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* info = new QVBoxLayout(m_info);
    info->setContentsMargins(0, 0, 0, 0);
    info->setSpacing(2);
    info->addWidget(m_infoTitle);
    info->addWidget(m_infoText);

    m_pages->addWidget(m_blank);
    m_pages->addWidget(m_info);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 6, 8, 6);
    layout->addWidget(m_pages);
    hide();

    setupFormatters();
    connect(&m_library, &LibraryController::balancesChanged, this, [this] {
        if (isActive())
            refreshTable();
    });
    connect(&m_library, &LibraryController::presentationChanged, this, [this] {
        if (isActive())
            giveCardsIdentifiers();
    });
    connect(&m_library, &LibraryController::selectionChanged, this, &SmartController::tableViewSelectionDidChange);
}

SmartController::~SmartController() = default;

void SmartController::prepare(ManagedObject* vault)
{
    m_vault = vault;
    if (!isActive())
        return;
    m_library.setDetailsPane(this);
    refreshTable();
}

bool SmartController::isActive() const
{
    return m_vault && m_library.vault() == m_vault
        && m_vault->valueForKey(u"vault_type").toString() == VaultType::SmartPlaylist;
}

void SmartController::switchToListView()
{
    if (isActive())
        m_library.switchToListView();
}

void SmartController::switchToIconView()
{
    if (isActive())
        m_library.switchToIconView();
}

void SmartController::viewAll()
{
    if (isActive())
        m_library.setDirectionFilter(QStringLiteral("FilterAll"));
}

void SmartController::viewIncoming()
{
    if (isActive())
        m_library.setDirectionFilter(QStringLiteral("FilterIncoming"));
}

void SmartController::viewOutgoing()
{
    if (isActive())
        m_library.setDirectionFilter(QStringLiteral("FilterOutgoing"));
}

void SmartController::search(const QString& text)
{
    if (isActive())
        m_library.searchField()->setText(text);
}

void SmartController::refreshTable()
{
    if (!isActive())
        return;
    if (m_library.isShowingIcons())
        giveCardsIdentifiers();
    tableViewSelectionDidChange();
}

void SmartController::giveCardsIdentifiers()
{
    // A card is known by its transaction's identifier, so one without gets
    // one: a deliberate write, but no edit of the user's to undo.
    if (!m_library.isShowingIcons())
        return;
    UndoManager& undo = m_delegate.managedObjectContext()->undoManager();
    undo.disableUndoRegistration();
    SmartViewQuery::giveIdentifiers(m_library.arrangedTransObjects(), m_delegate);
    undo.enableUndoRegistration();
}

void SmartController::tableViewSelectionDidChange()
{
    if (!isActive())
        return;
    const std::vector<ManagedObject*>& listed = m_library.arrangedTransObjects();
    if (listed.empty()) {
        m_pages->setCurrentWidget(m_blank);
        return;
    }
    m_pages->setCurrentWidget(m_info);
    const ManagedObject* t = m_library.selectedTransaction();
    if (!t) {
        m_infoTitle->setText(listed.size() == 1 ? tr("1 transaction matches the rules")
                                                : tr("%1 transactions match the rules").arg(listed.size()));
        m_infoText->setText(tr("Select one to see it here."));
        return;
    }
    m_infoTitle->setText(t->valueForKey(u"trans_title").toString());
    QStringList lines;
    const Value date = t->valueForKey(u"trans_date");
    lines << (date.isNull() ? QString() : m_dates->format(date.toDate())) + QStringLiteral("   ") +
                 m_amounts->format(t->valueForKey(u"trans_amount").toDouble());
    const QString from = t->valueForKey(u"trans_from").toString();
    const QString to = t->valueForKey(u"trans_to").toString();
    if (!from.isEmpty() || !to.isEmpty())
        lines << tr("From %1 to %2").arg(from.isEmpty() ? QStringLiteral("—") : from,
                                         to.isEmpty() ? QStringLiteral("—") : to);
    const QString tags = t->valueForKey(u"trans_keywords").toString();
    if (!tags.isEmpty())
        lines << tr("Tags: %1").arg(tags);
    m_infoText->setText(lines.join(QLatin1Char('\n')));
}

QString SmartController::detailsPage() const
{
    return m_pages->currentWidget()->objectName();
}

QString SmartController::infoText() const
{
    return m_infoTitle->text() + QLatin1Char('\n') + m_infoText->text();
}

void SmartController::setupFormatters()
{
    const QString locale = m_delegate.amountFormatter().localeIdentifier();
    m_amounts = std::make_unique<AmountFormatter>(locale);
    m_dates = std::make_unique<DateFormatter>(DateFormatter::Style::Full, locale);
}

void SmartController::localePreferenceChanged()
{
    setupFormatters();
    tableViewSelectionDidChange();
}

} // namespace qf
