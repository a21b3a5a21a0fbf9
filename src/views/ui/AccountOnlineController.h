#pragma once

#include <QPointer>
#include <QWidget>

class QLabel;
class QPushButton;
class QStackedWidget;

namespace qf {

class BankWebView;
class ManagedObject;

// The account's "Online" tab: the bank's web site (vault_accountURL) in an
// embedded browser when the program was built with Qt WebEngine, else the
// address with a button that opens it in the system browser and one that
// imports a statement the user downloaded there.
//
// Either way a statement file ends in statementDownloaded(); which import
// takes it is StatementDownload::routeForPath(). While the tab is shown the
// window is titled after the bank's page.
class AccountOnlineController : public QWidget {
    Q_OBJECT

public:
    enum class Browser { Embedded, External };

    // Embedded falls back to External in a build without Qt WebEngine. The
    // browser itself is made when the tab is first set up.
    explicit AccountOnlineController(Browser browser, QWidget* parent = nullptr);
    // With the preferred browser.
    explicit AccountOnlineController(QWidget* parent = nullptr);

    static bool canEmbedBrowser();
    // The browser of controllers made without naming one: Embedded unless
    // set (tests choose External, as the embedded one starts a renderer).
    static void setPreferredBrowser(Browser browser);
    bool embedsBrowser() const { return m_browser == Browser::Embedded; }
    // The fixed identity the embedded browser gives web sites.
    static QString userAgent();

    // Shows the account's site, or the page that asks for an address.
    void setupOnlinePane(ManagedObject* account);
    void goOnlineHome();
    ManagedObject* vault() const { return m_vault; }

    // Where downloads are saved (the temporary folder unless set).
    void setDownloadFolder(const QString& folder);
    // Hands a statement file on, or beeps for a file that is none.
    void importStatementFile(const QString& path);

Q_SIGNALS:
    void statementDownloaded(const QString& path, qf::ManagedObject* vault);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QWidget* buildExternalPage();
    QString accountURL() const;
    void importDownloadedFile();
    void setPageTitle(const QString& title);

    Browser m_browser;
    ManagedObject* m_vault = nullptr;
    QString m_downloadFolder;
    QStackedWidget* m_pages;
    QWidget* m_externalPage = nullptr;
    QLabel* m_bankName = nullptr;
    QLabel* m_address = nullptr;
    QPushButton* m_openButton = nullptr;
    BankWebView* m_web = nullptr;
    QString m_pageTitle;
    QString m_windowTitle; // the window's own title, back when the tab goes
};

} // namespace qf
