#pragma once

// Only built when Qt WebEngine was found: without it the online tab offers
// the system browser instead (AccountOnlineController).
#ifdef QUILLFEN_HAVE_WEBENGINE

#include <QUrl>
#include <QWidget>

class QLabel;
class QWebEngineDownloadRequest;
class QWebEngineProfile;
class QWebEngineView;

namespace qf {

// A bank's web site with back, forward, reload and home buttons. Its cookies
// live in memory for the session only. Responses that are statements
// (StatementDownload) are saved in the download folder, replacing an older
// file of the same name; other downloads are refused.
class BankWebView : public QWidget {
    Q_OBJECT

public:
    BankWebView(const QString& userAgent, QWidget* parent = nullptr);
    ~BankWebView() override;

    // Loads the home page now and whenever Home is pressed.
    void loadHome(const QUrl& home);
    void setDownloadFolder(const QString& folder) { m_downloadFolder = folder; }
    QWebEngineView* view() const { return m_view; }

Q_SIGNALS:
    void titleChanged(const QString& title);
    // A statement finished downloading to this path.
    void statementSaved(const QString& path);

private:
    void download(QWebEngineDownloadRequest* request);

    QWebEngineProfile* m_profile;
    QWebEngineView* m_view;
    QLabel* m_address;
    QUrl m_home;
    QString m_downloadFolder;
};

} // namespace qf

#endif
