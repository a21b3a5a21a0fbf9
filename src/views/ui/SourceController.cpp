#include "views/ui/SourceController.h"
#include "common/AbsoluteTime.h"

#include "app/Quillfen_AppDelegate.h"
#include "app/UserDefaults.h"
#include "common/AmountFormatter.h"
#include "editing/TransactionRecords.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "views/SourceListRows.h"
#include "views/ui/AddVaultController.h"
#include "views/ui/DateField.h"
#include "views/ui/SourceListModel.h"

#include <QApplication>
#include <QFontMetrics>
#include <algorithm>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QListView>
#include <QMessageBox>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

namespace qf {

namespace {

// Headers are drawn as small grey capitals, vault rows as usual.
class SourceListDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        if (!index.data(SourceListModel::IsHeaderRole).toBool()) {
            QStyledItemDelegate::paint(painter, option, index);
            const int badge = index.data(SourceListModel::BadgeRole).toInt();
            if (badge > 0)
                paintBadge(painter, option, QString::number(badge));
            return;
        }
        painter->save();
        painter->setFont(index.data(Qt::FontRole).value<QFont>());
        painter->setPen(option.palette.color(QPalette::Disabled, QPalette::Text));
        painter->drawText(option.rect.adjusted(6, 0, 0, 0), Qt::AlignLeft | Qt::AlignBottom,
                          index.data(Qt::DisplayRole).toString());
        painter->restore();
    }

    // A red pill at the row's right end, like a mail count.
    static void paintBadge(QPainter* painter, const QStyleOptionViewItem& option, const QString& text)
    {
        painter->save();
        QFont font = option.font;
        font.setBold(true);
        painter->setFont(font);
        const QFontMetrics metrics(font);
        const int height = metrics.height() + 2;
        const int width = std::max(height, metrics.horizontalAdvance(text) + 12);
        const QRect pill(option.rect.right() - width - 6, option.rect.center().y() - height / 2, width, height);
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        painter->setBrush(QColor(0xB9, 0x1C, 0x1C));
        painter->drawRoundedRect(pill, height / 2.0, height / 2.0);
        painter->setPen(Qt::white);
        painter->drawText(pill, Qt::AlignCenter, text);
        painter->restore();
    }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        QSize size = QStyledItemDelegate::sizeHint(option, index);
        const QString sourceSize = UserDefaults::standard().stringForKey(DefaultsKey::SourceSize);
        size.setHeight(index.data(SourceListModel::IsHeaderRole).toBool()
                           ? option.fontMetrics.height() + 10
                           : SourceListRows::geometry(sourceSize).rowHeight);
        return size;
    }
};

} // namespace

SourceController::SourceController(Quillfen_AppDelegate& delegate, QWidget* parent)
    : QWidget(parent), m_delegate(delegate), m_model(new SourceListModel(this)), m_list(new QListView(this))
{
    m_list->setModel(m_model);
    m_list->setItemDelegate(new SourceListDelegate(m_list));
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setDragDropMode(QAbstractItemView::DropOnly);
    m_list->setAcceptDrops(true);
    m_list->setDropIndicatorShown(true);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setUniformItemSizes(false);
    QPalette palette = m_list->palette();
    palette.setColor(QPalette::Base, palette.color(QPalette::Window));
    m_list->setPalette(palette);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_list);

    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this, [this](const QModelIndex& index) {
        if (ManagedObject* vault = m_model->vaultAt(index.row()))
            Q_EMIT vaultSelected(vault);
    });
    connect(m_list, &QListView::doubleClicked, this, [this](const QModelIndex& index) {
        ManagedObject* vault = m_model->vaultAt(index.row());
        if (vault && vault->valueForKey(u"vault_type").toString() == VaultType::SmartPlaylist)
            Q_EMIT smartFolderEditRequested(vault);
    });
    connect(m_model, &SourceListModel::transactionsDropped, this, &SourceController::transactionsDropped);
    connect(&UserDefaults::standard(), &UserDefaults::defaultsChanged, this, [this](const QString& key) {
        if (key == DefaultsKey::SourceSize)
            refreshSourceTable();
    });
    applyGeometry();
}

void SourceController::applyGeometry()
{
    const QString size = UserDefaults::standard().stringForKey(DefaultsKey::SourceSize);
    const SourceListGeometry geometry = SourceListRows::geometry(size);
    const int icon = SourceListRows::isLarge(size) ? 24 : 16;
    m_list->setIconSize(QSize(icon, icon));
    m_list->setSpacing(0);
    m_list->setContentsMargins(geometry.spacing, geometry.spacing, geometry.spacing, geometry.spacing);
}

void SourceController::refreshSourceTable()
{
    const QString selected = selectedVaultID();
    const QString size = UserDefaults::standard().stringForKey(DefaultsKey::SourceSize);
    applyGeometry();
    if (!m_model->refresh(*m_delegate.managedObjectContext(), size)) {
        // A fixed vault is missing: repair, then build.
        m_delegate.convertVaultLibraryObjects();
        m_model->refresh(*m_delegate.managedObjectContext(), size);
    }
    if (selected.isEmpty() || !selectControllerWithID(selected)) {
        const auto libraries = VaultLibrary::vaultsOfType(*m_delegate.managedObjectContext(), VaultType::MasterVault);
        if (!libraries.empty())
            selectControllerWithID(libraries.front()->valueForKey(u"vault_uniqueID").toString());
    }
}

ManagedObject* SourceController::selectedVaultObject() const
{
    return m_model->vaultAt(m_list->currentIndex().row());
}

QString SourceController::selectedVaultType() const
{
    ManagedObject* vault = selectedVaultObject();
    return vault ? vault->valueForKey(u"vault_type").toString() : QString();
}

QString SourceController::selectedVaultID() const
{
    ManagedObject* vault = selectedVaultObject();
    return vault ? vault->valueForKey(u"vault_uniqueID").toString() : QString();
}

bool SourceController::selectControllerWithID(const QString& vaultID)
{
    const int row = m_model->rowOfVault(vaultID);
    if (row < 0)
        return false;
    const QModelIndex index = m_model->index(row);
    if (m_list->currentIndex() == index) {
        Q_EMIT vaultSelected(m_model->vaultAt(row));
    } else {
        m_list->setCurrentIndex(index);
    }
    return true;
}

void SourceController::newVault(const QString& vaultType)
{
    AddVaultController sheet(m_delegate, window());
    sheet.showForType(vaultType);
    if (sheet.exec() != QDialog::Accepted || !sheet.createdVault())
        return;
    ManagedObject* created = sheet.createdVault();
    const QString id = created->valueForKey(u"vault_uniqueID").toString();
    refreshSourceTable();
    selectControllerWithID(id);
    if (created->valueForKey(u"vault_type").toString() == VaultType::SmartPlaylist)
        Q_EMIT smartFolderEditRequested(created);
}

void SourceController::removeVault()
{
    ManagedObject* vault = selectedVaultObject();
    if (!vault || !SourceListRows::canRemove(selectedVaultType())) {
        QApplication::beep();
        return;
    }
    QMessageBox box(QMessageBox::Warning, tr("Remove"), tr("Are you sure you want to delete the selected vault item?"),
                    QMessageBox::Yes | QMessageBox::No, window());
    box.setInformativeText(tr("This cannot be undone."));
    box.setDefaultButton(QMessageBox::Yes);
    box.setWindowModality(Qt::WindowModal);
    if (box.exec() != QMessageBox::Yes)
        return;
    // The vault alone goes: its transactions keep their identifiers and stay in the library.
    m_delegate.managedObjectContext()->deleteObject(vault);
    refreshSourceTable();
}

void SourceController::toggleVaultIconSize()
{
    const QString size = UserDefaults::standard().stringForKey(DefaultsKey::SourceSize);
    UserDefaults::standard().setValue(DefaultsKey::SourceSize, SourceListRows::toggledSize(size));
}

ManagedObject* SourceController::showPendingSheet(const ValueDictionary& values)
{
    QDialog sheet(window());
    sheet.setWindowTitle(tr("New Pending Transaction"));
    sheet.setWindowModality(Qt::WindowModal);
    auto* form = new QFormLayout(&sheet);
    auto text = [&](const char* key) {
        auto it = values.find(QString::fromLatin1(key));
        return it == values.end() ? QString() : it->second.toString();
    };
    form->addRow(tr("Title:"), new QLabel(text("trans_title").toHtmlEscaped(), &sheet));
    auto amount = values.find(QStringLiteral("trans_amount"));
    form->addRow(tr("Amount:"),
                 new QLabel(m_delegate.amountFormatter().format(amount == values.end() ? 0.0 : amount->second.toDouble()),
                            &sheet));
    auto* date = new DateField(QDate::currentDate(), &sheet);
    date->setObjectName(QStringLiteral("pendingDate"));
    form->addRow(tr("Date:"), date);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &sheet);
    connect(buttons, &QDialogButtonBox::accepted, &sheet, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, &sheet, &QDialog::reject);
    form->addRow(buttons);
    if (sheet.exec() != QDialog::Accepted)
        return nullptr;
    const AbsoluteTime day = absoluteTimeFromDateTime(date->date().startOfDay());
    return TransactionRecords::insertPending(*m_delegate.managedObjectContext(), m_delegate, values, day);
}

QString SourceController::toggleIconSizeTitle() const
{
    return tr(qPrintable(SourceListRows::toggleTitle(UserDefaults::standard().stringForKey(DefaultsKey::SourceSize))));
}

} // namespace qf
