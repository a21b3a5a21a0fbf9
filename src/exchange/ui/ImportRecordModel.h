#pragma once

#include "common/Value.h"

#include <QAbstractTableModel>
#include <vector>

namespace qf {

class Quillfen_AppDelegate;

// The records of an import as table rows: a check box (the record's
// "shouldImport"), date, payee, amount and memo. The records belong to the
// caller and must outlive the model; after replacing them call reset().
// Qt::UserRole gives the raw value of a cell, for sorting.
class ImportRecordModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { CheckColumn, DateColumn, PayeeColumn, AmountColumn, MemoColumn, ColumnCount };

    ImportRecordModel(Quillfen_AppDelegate& delegate, std::vector<ValueDictionary>& records, QObject* parent = nullptr);

    void reset();
    // After the check marks changed outside the model.
    void checksChanged();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    Quillfen_AppDelegate& m_delegate;
    std::vector<ValueDictionary>& m_records;
};

} // namespace qf
