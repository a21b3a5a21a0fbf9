#include "views/ui/FolderController.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/QFNSStringCategory.h"
#include "store/ManagedObject.h"
#include "views/SourceListRows.h"
#include "views/ui/IconLibrary.h"
#include "views/ui/InfoPaneInternal.h"
#include "views/ui/LibraryController.h"

#include <QApplication>
#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace qf {

namespace {

constexpr int kIconSize = 32;
constexpr int kIconGap = 10;

QString shareTitle(bool shared)
{
    return shared ? FolderController::tr("Stop Sharing") : FolderController::tr("Share this Folder");
}

} // namespace

FolderController::FolderController(Quillfen_AppDelegate& delegate, LibraryController& library, QWidget* parent)
    : QFrame(parent), m_delegate(delegate), m_library(library), m_pages(new QStackedWidget(this))
{
    setObjectName(QStringLiteral("folderPane"));
    m_infoPage = buildInfoPage();
    m_editPage = buildEditPage();
    infopane::setupPages(this, m_pages, m_infoPage, m_editPage);
    // After an undo or any other change of the store, show what is stored.
    connect(&m_library, &LibraryController::balancesChanged, this, [this] {
        if (isShown())
            refreshInfoPanel();
    });
}

QWidget* FolderController::buildInfoPage()
{
    auto* page = new QWidget(this);
    m_icon = new QLabel(page);
    m_icon->setFixedSize(kIconSize, kIconSize);
    m_title = infopane::titleLabel(page);
    m_title->setObjectName(QStringLiteral("folderTitle"));
    m_shareButton = new QPushButton(quillfenIcon(QStringLiteral("share")), shareTitle(false), page);
    m_shareButton->setObjectName(QStringLiteral("shareButton"));
    connect(m_shareButton, &QPushButton::clicked, this, &FolderController::shareThisFolder);
    m_editButton = new QPushButton(quillfenIcon(QStringLiteral("edit")), tr("Rename…"), page);
    m_editButton->setObjectName(QStringLiteral("editFolder"));
    // A smart folder's name and rules are both edited in its rules sheet.
    connect(m_editButton, &QPushButton::clicked, this, [this] {
        if (canRename())
            editFolderName();
        else if (m_vault)
            Q_EMIT editRulesRequested(m_vault);
    });
    m_shared = infopane::valueLabel(page, "sharingLabel");

    auto* title = new QVBoxLayout;
    title->setSpacing(2);
    title->addWidget(m_title);
    auto* sharing = new QHBoxLayout;
    sharing->setSpacing(6);
    sharing->addWidget(infopane::nameLabel(tr("Shared on the network:"), page));
    sharing->addWidget(m_shared, 1);
    title->addLayout(sharing);

    auto* layout = new QHBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kIconGap);
    layout->addWidget(m_icon, 0, Qt::AlignTop);
    layout->addLayout(title, 1);
    layout->addWidget(m_shareButton, 0, Qt::AlignTop);
    layout->addWidget(m_editButton, 0, Qt::AlignTop);
    return page;
}

QWidget* FolderController::buildEditPage()
{
    auto* page = new QWidget(this);
    m_nameField = new QLineEdit(page);
    m_nameField->setObjectName(QStringLiteral("folderName"));
    m_nameField->setMinimumWidth(m_nameField->fontMetrics().averageCharWidth() * 40);
    connect(m_nameField, &QLineEdit::returnPressed, this, &FolderController::saveEditFolderName);
    m_shareBox = new QCheckBox(tr("Share this folder on the network"), page);
    m_shareBox->setObjectName(QStringLiteral("shareBox"));

    QLabel* heading = infopane::editHeading(tr("Rename Folder"), page);
    QGridLayout* grid = infopane::editGrid();
    grid->addWidget(infopane::nameLabel(tr("Name:"), page), 0, 0);
    grid->addWidget(m_nameField, 0, 1);
    grid->addWidget(m_shareBox, 1, 1);
    grid->setColumnStretch(2, 1);

    infopane::finishEditPage(page, heading, grid, this, [this] { cancelEditFolderName(); }, [this] { saveEditFolderName(); });
    return page;
}

QWidget* FolderController::prepareMainViewWithVaultObject(ManagedObject* folder)
{
    m_vault = folder;
    // The list's scope comes from the vault's kind: "trans_listIDs contains
    // %@" and its direction and status forms, or a smart folder's rules.
    m_library.prepareWithVaultObject(folder, folder ? addDefaults() : ValueDictionary());
    if (!folder)
        return &m_library;
    infopane::showPage(m_pages, m_infoPage);
    m_library.setInfoPane(this);
    refreshInfoPanel();
    return &m_library;
}

ValueDictionary FolderController::addDefaults() const
{
    return {{QStringLiteral("trans_listIDs"), Value(vaultID())}};
}

QString FolderController::vaultID() const
{
    return m_vault ? m_vault->valueForKey(u"vault_uniqueID").toString() : QString();
}

ManagedObject* FolderController::selectedTransaction() const
{
    return m_library.selectedTransaction();
}

bool FolderController::isShown() const
{
    return m_vault && m_library.vault() == m_vault && m_library.infoPane() == this;
}

bool FolderController::isEditing() const
{
    return m_pages->currentWidget() == m_editPage;
}

QString FolderController::shareButtonTitle() const
{
    return m_shareButton->text();
}

QString FolderController::sharingLabel() const
{
    return m_shared->text();
}

void FolderController::refreshInfoPanel()
{
    if (!m_vault)
        return;
    const bool shared = m_vault->valueForKey(u"vault_shouldPublish").toBool();
    m_icon->setPixmap(quillfenIcon(SourceListRows::iconKind(*m_vault) + QStringLiteral("_Large_Icon"))
                          .pixmap(kIconSize, kIconSize));
    m_title->setText(m_vault->valueForKey(u"vault_title").toString());
    m_shared->setText(shared ? tr("Yes") : tr("No"));
    m_shareButton->setText(shareTitle(shared));
    m_editButton->setText(canRename() ? tr("Rename…") : tr("Edit Rules…"));
}

void FolderController::editFolderName()
{
    if (!m_vault || !canRename())
        return;
    const QString title = m_vault->valueForKey(u"vault_title").toString();
    m_nameField->setText(QFNSStringCategory::isValidString(title) ? title : QString());
    m_shareBox->setChecked(m_vault->valueForKey(u"vault_shouldPublish").toBool());
    infopane::showPage(m_pages, m_editPage);
    m_nameField->setFocus();
    m_nameField->selectAll();
}

bool FolderController::saveEditFolderName()
{
    if (!m_vault || !isEditing())
        return false;
    const QString title = m_nameField->text().trimmed();
    if (!QFNSStringCategory::isValidString(title)) {
        QApplication::beep();
        m_nameField->setFocus();
        return false;
    }
    m_vault->setValueForKey(u"vault_title", Value(title));
    if (m_shareBox->isChecked())
        enableSharing();
    else
        disableSharing();
    infopane::showPage(m_pages, m_infoPage);
    refreshInfoPanel();
    return true;
}

void FolderController::cancelEditFolderName()
{
    infopane::showPage(m_pages, m_infoPage);
    refreshInfoPanel();
}

void FolderController::shareThisFolder()
{
    if (m_shareButton->text() == shareTitle(false))
        enableSharing();
    else
        disableSharing();
}

void FolderController::enableSharing()
{
    setSharing(true);
}

void FolderController::disableSharing()
{
    setSharing(false);
}

void FolderController::setSharing(bool shared)
{
    if (!m_vault)
        return;
    // Only the stored choice changes for now: there is no network sharing
    // service yet to announce the folder to, or to withdraw it from.
    m_vault->setValueForKey(u"vault_shouldPublish", Value::boolean(shared));
    refreshInfoPanel();
}

} // namespace qf
