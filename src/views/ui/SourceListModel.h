#pragma once

#include "views/SourceListRows.h"

#include <QAbstractListModel>
#include <QHash>
#include <vector>

namespace qf {

// The source list's rows for a list view: section headers (not selectable)
// and vaults, with their icons. Dropping transactions on a vault row is
// answered here too.
class SourceListModel : public QAbstractListModel {
    Q_OBJECT

public:
    enum Roles { IsHeaderRole = Qt::UserRole + 1, VaultIDRole, VaultTypeRole, BadgeRole };
    static QString transactionsMimeType();

    explicit SourceListModel(QObject* parent = nullptr);

    // Rebuilds from the store; false when the fixed vaults had to be ensured
    // first (the next refresh then builds the list).
    bool refresh(const ManagedObjectContext& context, const QString& sourceSize);
    ManagedObject* vaultAt(int row) const;
    // A count drawn beside a vault's title (the bills overdue); 0 removes it.
    void setBadge(const QString& vaultID, int count);
    int badge(const QString& vaultID) const { return m_badges.value(vaultID); }
    int rowOfVault(const QString& vaultID) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;
    Qt::DropActions supportedDropActions() const override { return Qt::CopyAction | Qt::MoveAction; }

Q_SIGNALS:
    void transactionsDropped();

private:
    std::vector<SourceListRow> m_rows;
    const ManagedObjectContext* m_context = nullptr;
    QString m_sourceSize;
    QHash<QString, int> m_badges;
};

} // namespace qf
