#include "exchange/ui/ImportRecordModel.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "common/DateFormatter.h"
#include "exchange/ImportRecordKeys.h"
#include "exchange/QIFImport.h"

namespace qf {

namespace {

const Value* field(const ValueDictionary& record, const QString& key)
{
    const auto found = record.find(key);
    return found == record.end() || found->second.isNull() ? nullptr : &found->second;
}

const QString& keyOfColumn(int column)
{
    static const QString none;
    switch (column) {
    case ImportRecordModel::DateColumn: return ImportKey::Date;
    case ImportRecordModel::PayeeColumn: return ImportKey::Payee;
    case ImportRecordModel::AmountColumn: return ImportKey::Amount;
    case ImportRecordModel::MemoColumn: return ImportKey::Memo;
    default: return none;
    }
}

} // namespace

ImportRecordModel::ImportRecordModel(Quillfen_AppDelegate& delegate, std::vector<ValueDictionary>& records,
                                     QObject* parent)
    : QAbstractTableModel(parent), m_delegate(delegate), m_records(records)
{
}

void ImportRecordModel::reset()
{
    beginResetModel();
    endResetModel();
}

void ImportRecordModel::checksChanged()
{
    if (!m_records.empty())
        Q_EMIT dataChanged(index(0, CheckColumn), index(rowCount() - 1, CheckColumn), {Qt::CheckStateRole});
}

int ImportRecordModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_records.size());
}

int ImportRecordModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ImportRecordModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const ValueDictionary& record = m_records[std::size_t(index.row())];
    if (index.column() == CheckColumn) {
        const bool on = QIFImport::shouldImport(record);
        if (role == Qt::CheckStateRole)
            return int(on ? Qt::Checked : Qt::Unchecked);
        return role == Qt::UserRole ? QVariant(on) : QVariant();
    }
    const Value* value = field(record, keyOfColumn(index.column()));
    if (role == Qt::UserRole) {
        if (!value)
            return {};
        return value->isNumeric() || value->type() == Value::Type::Date ? QVariant(value->toDouble())
                                                                        : QVariant(value->toString());
    }
    if (role == Qt::TextAlignmentRole && index.column() == AmountColumn)
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (role != Qt::DisplayRole || !value)
        return {};
    switch (index.column()) {
    case DateColumn: return m_delegate.shortDateFormatter().format(value->toDate());
    case AmountColumn: return m_delegate.amountFormatter().format(value->toDouble());
    default: return value->toString();
    }
}

bool ImportRecordModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid() || index.column() != CheckColumn || role != Qt::CheckStateRole)
        return false;
    QIFImport::setShouldImport(m_records[std::size_t(index.row())], value.toInt() == Qt::Checked);
    Q_EMIT dataChanged(index, index, {Qt::CheckStateRole});
    return true;
}

QVariant ImportRecordModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case DateColumn: return tr("Date");
    case PayeeColumn: return tr("Payee");
    case AmountColumn: return tr("Amount");
    case MemoColumn: return tr("Memo");
    default: return QString();
    }
}

Qt::ItemFlags ImportRecordModel::flags(const QModelIndex& index) const
{
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (index.column() == CheckColumn)
        flags |= Qt::ItemIsUserCheckable;
    return flags;
}

} // namespace qf
