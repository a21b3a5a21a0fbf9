#include "views/ui/SourceListModel.h"

#include "editing/FolderMembership.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "views/ui/IconLibrary.h"

#include <QFont>
#include <QMimeData>

namespace qf {

QString SourceListModel::transactionsMimeType()
{
    return QStringLiteral("application/x-quillfen-transactions");
}

SourceListModel::SourceListModel(QObject* parent) : QAbstractListModel(parent) {}

bool SourceListModel::refresh(const ManagedObjectContext& context, const QString& sourceSize)
{
    beginResetModel();
    m_context = &context;
    m_sourceSize = sourceSize;
    m_rows = SourceListRows::build(context, sourceSize);
    endResetModel();
    return !m_rows.empty();
}

ManagedObject* SourceListModel::vaultAt(int row) const
{
    return row >= 0 && row < static_cast<int>(m_rows.size()) ? m_rows[row].vault : nullptr;
}

int SourceListModel::rowOfVault(const QString& vaultID) const
{
    for (int row = 0; row < static_cast<int>(m_rows.size()); ++row) {
        if (m_rows[row].vault && m_rows[row].vault->valueForKey(u"vault_uniqueID").toString() == vaultID)
            return row;
    }
    return -1;
}

int SourceListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant SourceListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= static_cast<int>(m_rows.size()))
        return {};
    const SourceListRow& row = m_rows[index.row()];
    switch (role) {
    case Qt::DisplayRole:
        return row.isHeader() ? tr(qPrintable(row.header)) : row.vault->valueForKey(u"vault_title").toString();
    case Qt::DecorationRole:
        return row.isHeader() ? QVariant() : QVariant(quillfenIcon(row.iconName));
    case Qt::FontRole:
        if (row.isHeader()) {
            QFont font;
            font.setBold(true);
            font.setPointSizeF(font.pointSizeF() * 0.85);
            return font;
        }
        return {};
    case Qt::ToolTipRole:
        return row.isHeader() ? QVariant() : QVariant(row.vault->valueForKey(u"vault_title").toString());
    case IsHeaderRole:
        return row.isHeader();
    case VaultIDRole:
        return row.isHeader() ? QVariant() : QVariant(row.vault->valueForKey(u"vault_uniqueID").toString());
    case VaultTypeRole:
        return row.isHeader() ? QVariant() : QVariant(row.vault->valueForKey(u"vault_type").toString());
    case BadgeRole:
        return row.isHeader() ? 0 : m_badges.value(row.vault->valueForKey(u"vault_uniqueID").toString());
    default:
        return {};
    }
}

void SourceListModel::setBadge(const QString& vaultID, int count)
{
    if (m_badges.value(vaultID) == count)
        return;
    if (count > 0)
        m_badges.insert(vaultID, count);
    else
        m_badges.remove(vaultID);
    const int row = rowOfVault(vaultID);
    if (row >= 0)
        Q_EMIT dataChanged(index(row), index(row), {BadgeRole});
}

Qt::ItemFlags SourceListModel::flags(const QModelIndex& index) const
{
    if (!index.isValid() || index.row() >= static_cast<int>(m_rows.size()))
        return Qt::NoItemFlags;
    if (m_rows[index.row()].isHeader())
        return Qt::ItemIsEnabled;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDropEnabled;
}

QStringList SourceListModel::mimeTypes() const
{
    return {transactionsMimeType()};
}

bool SourceListModel::canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                                      const QModelIndex& parent) const
{
    ManagedObject* vault = vaultAt(parent.row());
    if (!vault || !data->hasFormat(transactionsMimeType()) || data->data(transactionsMimeType()).isEmpty())
        return false;
    const QString type = vault->valueForKey(u"vault_type").toString();
    return type == VaultType::Playlist || type == VaultType::Account;
}

bool SourceListModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                                   const QModelIndex& parent)
{
    if (!m_context || !canDropMimeData(data, action, row, column, parent))
        return false;
    ManagedObject* vault = vaultAt(parent.row());
    // The records travel as their object URIs joined by ",".
    const QStringList uris = QString::fromUtf8(data->data(transactionsMimeType())).split(QLatin1Char(','));
    bool changed = false;
    for (const QString& uri : uris) {
        if (ManagedObject* record = m_context->objectWithURI(uri))
            changed = FolderMembership::dropOnVault(*record, *vault) || changed;
    }
    if (changed)
        Q_EMIT transactionsDropped();
    return changed;
}

} // namespace qf
