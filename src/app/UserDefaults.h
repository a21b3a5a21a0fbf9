#pragma once

#include <QObject>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <memory>

class QSettings;

namespace qf {

// Keys of the user defaults.
namespace DefaultsKey {
inline const QString ShouldUseAnimation = QStringLiteral("ShouldUseAnimation");
inline const QString ShouldUseVoiceRecognition = QStringLiteral("ShouldUseVoiceRecognition");
inline const QString LocaleIdentifier = QStringLiteral("LocaleIdentifier");
inline const QString SUFeedURLKey = QStringLiteral("SUFeedURL");
inline const QString SourceSize = QStringLiteral("SourceSize");
inline const QString ShouldEncryptDatabase = QStringLiteral("ShouldEncryptDatabase");
inline const QString DotmacSetupComplete = QStringLiteral("DotmacSetupComplete");
inline const QString ShouldFindShares = QStringLiteral("ShouldFindShares");
inline const QString ShouldShare = QStringLiteral("ShouldShare");
inline const QString EnableSpotlightIndexing = QStringLiteral("EnableSpotlightIndexing");
inline const QString UseExampleStore = QStringLiteral("UseExampleStore");
inline const QString EnableiPodSync = QStringLiteral("EnableiPodSync");
inline const QString SharePassword = QStringLiteral("SharePassword");
// The vCard folder behind payee completion.
inline const QString ContactsFolder = QStringLiteral("ContactsFolder");
} // namespace DefaultsKey

// The user's preferences, over QSettings (organisation and application
// "Quillfen"). Registered defaults answer for keys the user never set; they
// live in memory only, except the locale, which is pinned at first start so
// that a later change of the system locale does not reformat the ledger.
class UserDefaults : public QObject {
    Q_OBJECT

public:
    static UserDefaults& standard();

    // The defaults table, registered before anything else reads a key.
    void registerDefaults();
    void registerDefaults(const QVariantMap& defaults);

    QVariant value(const QString& key) const;
    bool boolForKey(const QString& key) const;
    QString stringForKey(const QString& key) const;
    void setValue(const QString& key, const QVariant& value);
    void removeObjectForKey(const QString& key);
    bool contains(const QString& key) const; // set by the user, not only registered
    bool synchronize();

    // Values set for this process only, not written to disk (command-line
    // options such as --locale or --example).
    void setVolatileValue(const QString& key, const QVariant& value);
    void clearVolatileValues() { m_volatile.clear(); }

Q_SIGNALS:
    void defaultsChanged(const QString& key);

private:
    UserDefaults();
    ~UserDefaults() override;

    std::unique_ptr<QSettings> m_settings;
    QVariantMap m_registered;
    QVariantMap m_volatile;
};

} // namespace qf
