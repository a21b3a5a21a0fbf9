#pragma once

#include <QWidget>

class QLineEdit;
class QListView;
class QSortFilterProxyModel;
class QStandardItemModel;

namespace qf {

// A searchable list of locales by display name. Choosing a row (click, or
// Return on the highlighted one) announces its identifier; typing in the
// search field only narrows the list.
class LocalePicker : public QWidget {
    Q_OBJECT

public:
    explicit LocalePicker(QWidget* parent = nullptr);

    // Highlights the locale without announcing it.
    void setCurrentIdentifier(const QString& identifier);
    QString currentIdentifier() const { return m_current; }
    // Clears the search, then highlights and announces, as a click on its row does.
    bool chooseIdentifier(const QString& identifier);

    QLineEdit* searchField() const { return m_search; }
    QListView* listView() const { return m_list; }
    int visibleCount() const;

Q_SIGNALS:
    void localeChosen(const QString& identifier);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void filter(const QString& text);
    void highlightCurrent();
    void rowChosen(const QModelIndex& proxyIndex);

    QStandardItemModel* m_model;
    QSortFilterProxyModel* m_proxy;
    QLineEdit* m_search;
    QListView* m_list;
    QString m_current;
};

} // namespace qf
