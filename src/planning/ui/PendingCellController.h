#pragma once

#include <QWidget>

class QLabel;
class QStackedWidget;

namespace qf {

class ManagedObject;
class Quillfen_AppDelegate;

// A small row showing one pending transaction: title, amount, date and tags.
// "Main" shows them all, "Plain Main" the title and amount only, "Blank"
// nothing. Changes of state fade when ShouldUseAnimation is on.
class PendingCellController : public QWidget {
    Q_OBJECT

public:
    explicit PendingCellController(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);

    void setTransaction(ManagedObject* transaction);
    ManagedObject* transaction() const { return m_transaction; }
    // "Blank", "Main" or "Plain Main"; anything else is ignored.
    void setState(const QString& state);
    QString state() const { return m_state; }
    // The amount and date are shown anew in the current locale.
    void localeChanged();

    QString titleText() const;
    QString amountText() const;
    QString dateText() const;
    QString tagsText() const;

private:
    void fill();

    Quillfen_AppDelegate& m_delegate;
    ManagedObject* m_transaction = nullptr;
    QString m_state = QStringLiteral("Blank");
    QStackedWidget* m_pages;
    QLabel* m_title;
    QLabel* m_amount;
    QLabel* m_date;
    QLabel* m_tags;
};

} // namespace qf
