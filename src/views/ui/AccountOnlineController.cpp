#include "views/ui/AccountOnlineController.h"

#include "common/QFNSStringCategory.h"
#include "exchange/StatementDownload.h"
#include "store/ManagedObject.h"
#include "views/ui/BankWebView.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStackedWidget>
#include <QStandardPaths>
#include <QUrl>
#include <QVBoxLayout>

namespace qf {

namespace {
AccountOnlineController::Browser preferredBrowser = AccountOnlineController::Browser::Embedded;
}

AccountOnlineController::AccountOnlineController(QWidget* parent) : AccountOnlineController(preferredBrowser, parent) {}

void AccountOnlineController::setPreferredBrowser(Browser browser)
{
    preferredBrowser = browser;
}

AccountOnlineController::AccountOnlineController(Browser browser, QWidget* parent)
    : QWidget(parent), m_browser(canEmbedBrowser() ? browser : Browser::External),
      m_downloadFolder(QDir::tempPath()), m_pages(new QStackedWidget(this))
{
    setObjectName(QStringLiteral("accountOnline"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_pages);
    if (!embedsBrowser()) {
        m_externalPage = buildExternalPage();
        m_pages->addWidget(m_externalPage);
    }
}

bool AccountOnlineController::canEmbedBrowser()
{
#ifdef QUILLFEN_HAVE_WEBENGINE
    return true;
#else
    return false;
#endif
}

QString AccountOnlineController::userAgent()
{
    return QStringLiteral("Mozilla/5.0 (Macintosh; U; PPC Mac OS X; en) AppleWebKit/418.9.1 (KHTML, like Gecko) "
                          "Safari/419.3");
}

QWidget* AccountOnlineController::buildExternalPage()
{
    auto* page = new QWidget(this);
    m_bankName = new QLabel(page);
    m_bankName->setObjectName(QStringLiteral("onlineBankName"));
    QFont font = m_bankName->font();
    font.setPointSizeF(font.pointSizeF() * 1.35);
    font.setBold(true);
    m_bankName->setFont(font);
    m_address = new QLabel(page);
    m_address->setObjectName(QStringLiteral("onlineAddress"));
    m_address->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_address->setWordWrap(true);

    m_openButton = new QPushButton(tr("Open in Browser"), page);
    m_openButton->setObjectName(QStringLiteral("openInBrowser"));
    connect(m_openButton, &QPushButton::clicked, this, [this] { QDesktopServices::openUrl(QUrl(accountURL())); });
    auto* import = new QPushButton(tr("Import Downloaded File…"), page);
    import->setObjectName(QStringLiteral("importDownloaded"));
    connect(import, &QPushButton::clicked, this, &AccountOnlineController::importDownloadedFile);

    auto* hint = new QLabel(tr("Sign in to your bank in your web browser and download a statement as a QIF, OFX "
                               "or QFX file; then import it here into this account."),
                            page);
    hint->setWordWrap(true);
    hint->setForegroundRole(QPalette::PlaceholderText);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_openButton);
    buttons->addWidget(import);
    buttons->addStretch();

    auto* column = new QVBoxLayout;
    column->setSpacing(10);
    column->addWidget(m_bankName);
    column->addWidget(m_address);
    column->addLayout(buttons);
    column->addWidget(hint);

    // A narrow column in the upper middle reads better than a full-width strip.
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addLayout(column, 3);
    row->addStretch(1);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(24, 40, 24, 24);
    layout->addLayout(row);
    layout->addStretch();
    return page;
}

QString AccountOnlineController::accountURL() const
{
    return m_vault ? m_vault->valueForKey(u"vault_accountURL").toString().trimmed() : QString();
}

void AccountOnlineController::setupOnlinePane(ManagedObject* account)
{
    m_vault = account;
#ifdef QUILLFEN_HAVE_WEBENGINE
    if (embedsBrowser()) {
        if (!m_web) {
            m_web = new BankWebView(userAgent(), this);
            m_web->setDownloadFolder(m_downloadFolder);
            connect(m_web, &BankWebView::titleChanged, this, &AccountOnlineController::setPageTitle);
            connect(m_web, &BankWebView::statementSaved, this, &AccountOnlineController::importStatementFile);
            m_pages->addWidget(m_web);
        }
        goOnlineHome();
        return;
    }
#endif
    const QString url = accountURL();
    const QString bank = m_vault ? m_vault->valueForKey(u"vault_accountBankName").toString() : QString();
    const QString title = m_vault ? m_vault->valueForKey(u"vault_title").toString() : QString();
    m_bankName->setText(QFNSStringCategory::isValidString(bank) ? bank : title);
    m_address->setText(url.isEmpty() ? tr("This account has no web address. Choose Edit above and enter your "
                                          "bank's online banking address under Web site.")
                                     : url);
    m_openButton->setEnabled(!url.isEmpty());
}

void AccountOnlineController::goOnlineHome()
{
#ifdef QUILLFEN_HAVE_WEBENGINE
    if (m_web)
        m_web->loadHome(QUrl(accountURL()));
#endif
}

void AccountOnlineController::setDownloadFolder(const QString& folder)
{
    m_downloadFolder = folder;
#ifdef QUILLFEN_HAVE_WEBENGINE
    if (m_web)
        m_web->setDownloadFolder(folder);
#endif
}

void AccountOnlineController::importStatementFile(const QString& path)
{
    if (StatementDownload::routeForPath(path) == StatementRoute::None) {
        QApplication::beep();
        return;
    }
    Q_EMIT statementDownloaded(path, m_vault);
}

void AccountOnlineController::importDownloadedFile()
{
    QFileDialog dialog(window(), tr("Import Downloaded File"),
                       QStandardPaths::writableLocation(QStandardPaths::DownloadLocation),
                       tr("Bank Statements (*.qif *.ofx *.qfx *.QIF *.OFX *.QFX)"));
    dialog.setObjectName(QStringLiteral("importDownloadedDialog"));
    dialog.setFileMode(QFileDialog::ExistingFile);
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setWindowModality(Qt::WindowModal);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    importStatementFile(dialog.selectedFiles().constFirst());
}

void AccountOnlineController::setPageTitle(const QString& title)
{
    m_pageTitle = title;
    if (isVisible() && !title.isEmpty())
        window()->setWindowTitle(title);
}

void AccountOnlineController::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (window()->windowTitle() != m_pageTitle)
        m_windowTitle = window()->windowTitle();
    if (!m_pageTitle.isEmpty())
        window()->setWindowTitle(m_pageTitle);
}

void AccountOnlineController::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    if (!m_windowTitle.isEmpty())
        window()->setWindowTitle(m_windowTitle);
}

} // namespace qf
