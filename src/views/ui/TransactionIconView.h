#pragma once

#include <QListView>

namespace qf {

// The transaction list as cards: one per transaction with its title, date,
// status and amount, laid out in rows that reflow with the width. It shows
// the rows of a TransactionTableModel and is meant to share the table's
// selection model, so both presentations select the same transactions.
class TransactionIconView : public QListView {
    Q_OBJECT

public:
    explicit TransactionIconView(QWidget* parent = nullptr);

    // Shows the rows of a TransactionTableModel.
    void setModel(QAbstractItemModel* model) override;

    // The natural size of one card, after the font; cards widen to fill a row.
    QSize cardSize() const;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void fitCardsToWidth();

    QAbstractItemDelegate* m_cards;
};

} // namespace qf
