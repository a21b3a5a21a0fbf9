#include "views/ui/BankWebView.h"

#ifdef QUILLFEN_HAVE_WEBENGINE

#include "app/ResourceFolder.h"
#include "exchange/StatementDownload.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWebEngineDownloadRequest>
#include <QWebEngineHistory>
#include <QWebEngineLoadingInfo>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineView>
#include <functional>

namespace qf {

namespace {

// Chromium's code for a navigation that was cancelled, as when a link
// turns into a download: that is no failure to show.
constexpr int kAbortedError = -3;

QUrl ownPage(const char* name)
{
    return QUrl::fromLocalFile(resourceFolder() + QStringLiteral("/online/") + QLatin1String(name) +
                               QStringLiteral(".html"));
}

} // namespace

BankWebView::BankWebView(const QString& userAgent, QWidget* parent)
    : QWidget(parent), m_profile(new QWebEngineProfile(this)), m_view(new QWebEngineView(this)),
      m_address(new QLabel(this)), m_downloadFolder(QDir::tempPath())
{
    m_profile->setHttpUserAgent(userAgent);
    m_view->setPage(new QWebEnginePage(m_profile, m_view));

    auto* bar = new QHBoxLayout;
    bar->setSpacing(2);
    auto button = [this, bar](QStyle::StandardPixmap icon, const QString& tip, const char* name,
                              const std::function<void()>& action) {
        auto* b = new QToolButton(this);
        b->setIcon(style()->standardIcon(icon));
        b->setToolTip(tip);
        b->setAutoRaise(true);
        b->setObjectName(QString::fromLatin1(name));
        connect(b, &QToolButton::clicked, this, action);
        bar->addWidget(b);
        return b;
    };
    QToolButton* back = button(QStyle::SP_ArrowBack, tr("Back"), "back", [this] { m_view->back(); });
    QToolButton* forward = button(QStyle::SP_ArrowForward, tr("Forward"), "forward", [this] { m_view->forward(); });
    button(QStyle::SP_BrowserReload, tr("Reload"), "reload", [this] { m_view->reload(); });
    // The style's home icon is a folder; a word says it better.
    QToolButton* home = button(QStyle::SP_CustomBase, tr("Load the bank's home page again"), "home",
                               [this] { m_view->load(m_home); });
    home->setIcon(QIcon::fromTheme(QStringLiteral("go-home")));
    home->setText(tr("Home"));
    home->setToolButtonStyle(home->icon().isNull() ? Qt::ToolButtonTextOnly : Qt::ToolButtonTextBesideIcon);
    m_address->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_address->setForegroundRole(QPalette::PlaceholderText);
    bar->addSpacing(6);
    bar->addWidget(m_address, 1);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addLayout(bar);
    layout->addWidget(m_view, 1);

    back->setEnabled(false);
    forward->setEnabled(false);
    connect(m_view, &QWebEngineView::urlChanged, this, [this, back, forward](const QUrl& url) {
        m_address->setText(url.isLocalFile() ? QString() : url.toDisplayString());
        back->setEnabled(m_view->history()->canGoBack());
        forward->setEnabled(m_view->history()->canGoForward());
    });
    connect(m_view, &QWebEngineView::titleChanged, this, &BankWebView::titleChanged);
    connect(m_view->page(), &QWebEnginePage::loadingChanged, this, [this](const QWebEngineLoadingInfo& info) {
        if (info.status() == QWebEngineLoadingInfo::LoadFailedStatus && info.errorCode() != kAbortedError &&
            !info.url().isLocalFile())
            m_view->load(ownPage("noconn"));
    });
    connect(m_profile, &QWebEngineProfile::downloadRequested, this, &BankWebView::download);
}

BankWebView::~BankWebView()
{
    // The page must go before the profile it was made on.
    delete m_view;
}

void BankWebView::loadHome(const QUrl& home)
{
    const QUrl previous = m_home;
    m_home = home.isEmpty() ? ownPage("nourl") : home;
    // One view serves every account: Back must not lead into another bank.
    if (m_home != previous)
        m_view->history()->clear();
    m_view->load(m_home);
}

void BankWebView::download(QWebEngineDownloadRequest* request)
{
    if (!StatementDownload::shouldSave(request->mimeType(), request->suggestedFileName())) {
        request->cancel();
        return;
    }
    const QString path = StatementDownload::savePath(m_downloadFolder, request->suggestedFileName(), request->mimeType());
    // The engine would pick another name beside an older file; the older one goes.
    QFile::remove(path);
    request->setDownloadDirectory(QFileInfo(path).absolutePath());
    request->setDownloadFileName(QFileInfo(path).fileName());
    connect(request, &QWebEngineDownloadRequest::isFinishedChanged, this, [this, request, path] {
        if (!request->isFinished())
            return;
        if (request->state() == QWebEngineDownloadRequest::DownloadCompleted)
            Q_EMIT statementSaved(path);
        else
            qWarning("Download failed! Error - %s %s", qPrintable(request->interruptReasonString()),
                     qPrintable(request->url().toDisplayString()));
    });
    request->accept();
}

} // namespace qf

#endif
