#include "views/ui/TransactionTableModel.h"

#include "store/ManagedObject.h"
#include "views/ui/SourceListModel.h"

#include <QBrush>
#include <QColor>
#include <QMimeData>
#include <set>

namespace qf {

TransactionTableModel::TransactionTableModel(QObject* parent) : QAbstractTableModel(parent) {}

void TransactionTableModel::setTransactions(std::vector<ManagedObject*> transactions)
{
    beginResetModel();
    m_transactions = std::move(transactions);
    endResetModel();
}

ManagedObject* TransactionTableModel::transactionAt(int row) const
{
    return row >= 0 && row < static_cast<int>(m_transactions.size()) ? m_transactions[row] : nullptr;
}

int TransactionTableModel::rowOfTransaction(const QString& uniqueID) const
{
    for (int row = 0; row < static_cast<int>(m_transactions.size()); ++row) {
        if (m_transactions[row]->valueForKey(u"trans_uniqueID").toString() == uniqueID)
            return row;
    }
    return -1;
}

int TransactionTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_transactions.size());
}

int TransactionTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant TransactionTableModel::data(const QModelIndex& index, int role) const
{
    const ManagedObject* t = transactionAt(index.row());
    if (!t)
        return {};
    if (role == Qt::DisplayRole) {
        switch (index.column()) {
        case DateColumn:
            return t->valueForKey(u"trans_dateShortStringValue").toString();
        case TitleColumn:
            return t->valueForKey(u"trans_title").toString();
        case AmountColumn:
            return t->valueForKey(u"trans_amountStringValue").toString();
        case StatusColumn:
            return tr(qPrintable(t->valueForKey(u"trans_status").toString()));
        case TagsColumn:
            return t->valueForKey(u"trans_keywords").toString();
        default:
            return {};
        }
    }
    if (role == Qt::TextAlignmentRole && index.column() == AmountColumn)
        return QVariant(Qt::AlignRight | Qt::AlignVCenter);
    if (role == Qt::ForegroundRole && index.column() == AmountColumn) {
        const double amount = t->valueForKey(u"trans_amount").toDouble();
        if (amount < 0)
            return QBrush(QColor(0xB9, 0x1C, 0x1C));
        if (amount > 0)
            return QBrush(QColor(0x0F, 0x76, 0x6E));
    }
    if (role == Qt::ForegroundRole && index.column() == StatusColumn) {
        const QString status = t->valueForKey(u"trans_status").toString();
        if (status == QLatin1String("Overdue"))
            return QBrush(QColor(0xB9, 0x1C, 0x1C));
        if (status == QLatin1String("Pending") || status == QLatin1String("Due Today"))
            return QBrush(QColor(0xB4, 0x53, 0x09));
    }
    return {};
}

QVariant TransactionTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case DateColumn:
        return tr("Date");
    case TitleColumn:
        return tr("Title");
    case AmountColumn:
        return tr("Amount");
    case StatusColumn:
        return tr("Status");
    case TagsColumn:
        return tr("Tags");
    default:
        return {};
    }
}

Qt::ItemFlags TransactionTableModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled;
}

QStringList TransactionTableModel::mimeTypes() const
{
    return {SourceListModel::transactionsMimeType()};
}

QMimeData* TransactionTableModel::mimeData(const QModelIndexList& indexes) const
{
    std::set<int> rows;
    for (const QModelIndex& index : indexes)
        rows.insert(index.row());
    QStringList uris;
    for (int row : rows) {
        if (const ManagedObject* t = transactionAt(row))
            uris << t->objectURI();
    }
    auto* data = new QMimeData;
    data->setData(SourceListModel::transactionsMimeType(), uris.join(QLatin1Char(',')).toUtf8());
    return data;
}

} // namespace qf
