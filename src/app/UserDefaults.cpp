#include "app/UserDefaults.h"

#include "editing/ContactBook.h"

#include <QLocale>
#include <QSettings>

namespace qf {

UserDefaults::UserDefaults()
    : m_settings(std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                             QStringLiteral("Quillfen"), QStringLiteral("Quillfen")))
{
}

UserDefaults::~UserDefaults() = default;

UserDefaults& UserDefaults::standard()
{
    static UserDefaults* instance = new UserDefaults();
    return *instance;
}

void UserDefaults::registerDefaults()
{
    using namespace DefaultsKey;
    // "C" and "POSIX" name no country: amounts would show a generic currency sign.
    QString firstLocale = QLocale::system().name();
    if (firstLocale == QLatin1String("C") || firstLocale == QLatin1String("POSIX"))
        firstLocale = QStringLiteral("en_US");
    registerDefaults({
        {ShouldUseAnimation, true},
        {ShouldUseVoiceRecognition, true},
        {LocaleIdentifier, firstLocale},
        {SUFeedURLKey, QStringLiteral("https://updates.quillfen.org/appcast.xml")},
        {SourceSize, QStringLiteral("Large")},
        {ShouldEncryptDatabase, false},
        {DotmacSetupComplete, false},
        {ShouldFindShares, true},
        {ShouldShare, true},
        {EnableSpotlightIndexing, true},
        {UseExampleStore, false},
        {EnableiPodSync, true},
        {ContactsFolder, ContactBook::defaultFolder()},
    });
    if (!m_settings->contains(LocaleIdentifier))
        m_settings->setValue(LocaleIdentifier, firstLocale);
    m_settings->sync();
}

void UserDefaults::registerDefaults(const QVariantMap& defaults)
{
    for (auto it = defaults.begin(); it != defaults.end(); ++it)
        m_registered.insert(it.key(), it.value());
}

QVariant UserDefaults::value(const QString& key) const
{
    if (auto it = m_volatile.find(key); it != m_volatile.end())
        return it.value();
    const QVariant stored = m_settings->value(key);
    if (stored.isValid())
        return stored;
    return m_registered.value(key);
}

bool UserDefaults::boolForKey(const QString& key) const
{
    const QVariant v = value(key);
    // The native format keeps booleans as the texts "true"/"false".
    if (v.typeId() == QMetaType::QString) {
        const QString s = v.toString().toLower();
        return s == QLatin1String("true") || s == QLatin1String("yes") || s == QLatin1String("1");
    }
    return v.toBool();
}

QString UserDefaults::stringForKey(const QString& key) const
{
    return value(key).toString();
}

void UserDefaults::setValue(const QString& key, const QVariant& value)
{
    m_volatile.remove(key);
    m_settings->setValue(key, value);
    Q_EMIT defaultsChanged(key);
}

void UserDefaults::removeObjectForKey(const QString& key)
{
    m_volatile.remove(key);
    m_settings->remove(key);
    Q_EMIT defaultsChanged(key);
}

bool UserDefaults::contains(const QString& key) const
{
    return m_volatile.contains(key) || m_settings->contains(key);
}

bool UserDefaults::synchronize()
{
    m_settings->sync();
    return m_settings->status() == QSettings::NoError;
}

void UserDefaults::setVolatileValue(const QString& key, const QVariant& value)
{
    m_volatile.insert(key, value);
    Q_EMIT defaultsChanged(key);
}

} // namespace qf
