#pragma once

#include <QFrame>
#include <memory>

class QLabel;
class QPushButton;
class QStackedWidget;

namespace qf {

class AmountFormatter;
class DateFormatter;
class LibraryController;
class ManagedObject;
class Quillfen_AppDelegate;

// What the window adds to the transaction list while a smart folder is shown:
// the list's presentation, direction and search become the smart view's (all
// stored on the vault), cards give the transactions they show an identifier,
// and a pane below the list shows "Blank" when the rules match nothing, or
// the selected match ("Smart Info"). For any other vault it does nothing.
class SmartController : public QFrame {
    Q_OBJECT

public:
    SmartController(Quillfen_AppDelegate& delegate, LibraryController& library, QWidget* parent = nullptr);
    ~SmartController() override;

    // Call after the library was prepared with the vault.
    void prepare(ManagedObject* vault);
    bool isActive() const;

    void switchToListView();
    void switchToIconView();
    void viewAll();
    void viewIncoming();
    void viewOutgoing();
    void search(const QString& text);

    // After every refetch of the list: cards, then the pane.
    void refreshTable();
    void tableViewSelectionDidChange();
    // "Blank" or "Smart Info".
    QString detailsPage() const;
    QString infoText() const;

    void localePreferenceChanged();

Q_SIGNALS:
    void editRulesRequested(qf::ManagedObject* vault);

private:
    void setupFormatters();
    void giveCardsIdentifiers();

    Quillfen_AppDelegate& m_delegate;
    LibraryController& m_library;
    ManagedObject* m_vault = nullptr;
    QStackedWidget* m_pages;
    QWidget* m_blank;
    QWidget* m_info;
    QLabel* m_infoTitle;
    QLabel* m_infoText;
    std::unique_ptr<AmountFormatter> m_amounts;
    std::unique_ptr<DateFormatter> m_dates;
};

} // namespace qf
