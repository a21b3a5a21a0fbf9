#pragma once

#include "app/PreferencesPasswords.h"

#include <QMainWindow>

class QActionGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QStackedWidget;
class QToolBar;

namespace qf {

class LocalePicker;
class Quillfen_AppDelegate;

// The preferences window: General (locale, animation, sidebar icons, the
// contacts folder),
// Sharing (sharing switches and the sharing password) and Database (locking
// and its password). Switches write the user defaults at once; the window
// refuses to close while a ticked password box has no accepted password.
class PreferencesController : public QMainWindow {
    Q_OBJECT

public:
    // Pane tags; the tool bar shows General, Sharing, Database in this order.
    enum PaneTag { GeneralPane = 0, DatabasePane = 1, SharingPane = 2 };

    explicit PreferencesController(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);

    // Shows the pane of the tag. The Database pane, when first shown, fills
    // its field with the stored password.
    void changePane(int tag);
    int currentPaneTag() const { return m_currentTag; }

    // The checkboxes' and fields' actions.
    void requireSharingPassword(bool ticked);
    void validateSharingPassword();
    void encryptDatabase(bool ticked);
    void validateDatabasePassword();
    // Every search record written afresh; the pane says how many.
    void reindexSpotlight();
    // False (after a beep, with the offending field marked) keeps the window open.
    bool windowShouldClose();

    const PreferencesPasswords& passwords() const { return m_passwords; }

Q_SIGNALS:
    // LocaleIdentifier changed and the delegate's formatters follow it; views
    // that show amounts and dates should refresh.
    void localePreferenceChanged();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* buildGeneralPane();
    QWidget* buildSharingPane();
    QWidget* buildDatabasePane();
    QCheckBox* defaultsCheckBox(const QString& key, const QString& title, QWidget* parent);
    void localeChosen(const QString& identifier);
    void updateSample();
    void defaultsChanged(const QString& key);
    void refuse(QLineEdit* field, int tag);
    QLayout* buildContactsFolderRow(QWidget* pane);
    void chooseContactsFolder();

    Quillfen_AppDelegate& m_delegate;
    PreferencesPasswords m_passwords;
    QToolBar* m_toolBar = nullptr;
    QStackedWidget* m_panes;
    QActionGroup* m_paneActions;
    int m_currentTag = -1;
    bool m_databasePaneShown = false;

    LocalePicker* m_locale = nullptr;
    QLabel* m_sample = nullptr;
    QLabel* m_reindexResult = nullptr;
    QComboBox* m_iconSize = nullptr;
    QLineEdit* m_contactsFolder = nullptr;
    QCheckBox* m_requireSharingPassword = nullptr;
    QLineEdit* m_sharingPassword = nullptr;
    QCheckBox* m_encryptDatabase = nullptr;
    QLineEdit* m_databasePassword = nullptr;
};

} // namespace qf
