#pragma once

#include <QAbstractTableModel>
#include <vector>

namespace qf {

class ManagedObject;

// The shown transactions as table rows: date, title, amount, status, tags.
// Rows are records of the context; dragging rows hands their object URIs on.
class TransactionTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { DateColumn, TitleColumn, AmountColumn, StatusColumn, TagsColumn, ColumnCount };

    explicit TransactionTableModel(QObject* parent = nullptr);

    void setTransactions(std::vector<ManagedObject*> transactions);
    const std::vector<ManagedObject*>& transactions() const { return m_transactions; }
    ManagedObject* transactionAt(int row) const;
    int rowOfTransaction(const QString& uniqueID) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;

private:
    std::vector<ManagedObject*> m_transactions;
};

} // namespace qf
