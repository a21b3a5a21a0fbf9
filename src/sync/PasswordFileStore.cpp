#include "sync/PasswordFileStore.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QStandardPaths>
#include <QtDebug>

namespace qf {

namespace {

const QString kFormat = QStringLiteral("quillfen-stored-passwords");
constexpr int kVersion = 1;

bool matches(const KeychainItemKey& a, const KeychainItemKey& b)
{
    return a.itemName == b.itemName && a.itemKind == b.itemKind && a.username == b.username;
}

} // namespace

PasswordFileStore::PasswordFileStore(QString folder) : m_folder(std::move(folder)) {}

QString PasswordFileStore::defaultFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
}

QString PasswordFileStore::filePath() const
{
    return QDir(m_folder).filePath(fileName());
}

KeychainReply<PasswordFileStore::Items> PasswordFileStore::load() const
{
    QFile file(filePath());
    if (!file.exists())
        return {};
    if (!file.open(QIODevice::ReadOnly))
        return {KeychainStatus::Corrupt, {}};

    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    const QJsonObject root = document.object();
    if (!document.isObject() || root.value(QStringLiteral("format")).toString() != kFormat ||
        root.value(QStringLiteral("version")).toInt() != kVersion || !root.value(QStringLiteral("items")).isArray())
        return {KeychainStatus::Corrupt, {}};

    Items items;
    for (const QJsonValue& entry : root.value(QStringLiteral("items")).toArray()) {
        const QJsonObject object = entry.toObject();
        const QJsonValue label = object.value(QStringLiteral("label"));
        const QJsonValue description = object.value(QStringLiteral("description"));
        const QJsonValue account = object.value(QStringLiteral("account"));
        const QJsonValue secret = object.value(QStringLiteral("secret"));
        if (!label.isString() || !description.isString() || !account.isString() || !secret.isString())
            return {KeychainStatus::Corrupt, {}};
        auto decoded = QByteArray::fromBase64Encoding(secret.toString().toLatin1(),
                                                      QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded)
            return {KeychainStatus::Corrupt, {}};
        items.append({{label.toString(), description.toString(), account.toString()}, *decoded});
    }
    return {KeychainStatus::Ok, items};
}

KeychainStatus PasswordFileStore::save(const Items& items) const
{
    const QFileDevice::Permissions ownerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
    if (!QDir().mkpath(m_folder))
        return KeychainStatus::WriteFailed;
    QFile::setPermissions(m_folder, ownerOnly | QFileDevice::ExeOwner);

    QJsonArray entries;
    for (const Item& item : items)
        entries.append(QJsonObject{{QStringLiteral("label"), item.key.itemName},
                                   {QStringLiteral("description"), item.key.itemKind},
                                   {QStringLiteral("account"), item.key.username},
                                   {QStringLiteral("secret"), QString::fromLatin1(item.secret.toBase64())}});
    const QJsonObject root{{QStringLiteral("format"), kFormat},
                           {QStringLiteral("version"), kVersion},
                           {QStringLiteral("items"), entries}};

    QSaveFile file(filePath());
    // The mode is set on the temporary file before any secret is written to it.
    if (!file.open(QIODevice::WriteOnly) || !file.setPermissions(ownerOnly))
        return KeychainStatus::WriteFailed;
    file.write(QJsonDocument(root).toJson(QJsonDocument::Indented));
    return file.commit() ? KeychainStatus::Ok : KeychainStatus::WriteFailed;
}

bool PasswordFileStore::setAsideUnreadableFile() const
{
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'hhmmsszzz"));
    QString target = filePath() + QStringLiteral(".unreadable-") + stamp;
    for (int n = 2; QFile::exists(target); ++n)
        target = filePath() + QStringLiteral(".unreadable-%1-%2").arg(stamp).arg(n);
    if (!QFile::rename(filePath(), target))
        return false;
    qWarning().noquote() << "The password file" << filePath() << "could not be read; it was kept as" << target;
    return true;
}

KeychainReply<int> PasswordFileStore::count(const KeychainItemKey& key)
{
    const KeychainReply<Items> loaded = load();
    if (!loaded.isOk())
        return {loaded.status, 0};
    int found = 0;
    for (const Item& item : loaded.value)
        found += matches(item.key, key) ? 1 : 0;
    return {KeychainStatus::Ok, found};
}

KeychainStatus PasswordFileStore::add(const KeychainItemKey& key, const QByteArray& secret)
{
    KeychainReply<Items> loaded = load();
    if (!loaded.isOk()) {
        if (!setAsideUnreadableFile())
            return KeychainStatus::WriteFailed;
        loaded = {};
    }
    loaded.value.append({key, secret});
    return save(loaded.value);
}

KeychainStatus PasswordFileStore::modifyFirst(const KeychainItemKey& key, const QByteArray& secret)
{
    KeychainReply<Items> loaded = load();
    if (!loaded.isOk())
        return loaded.status;
    for (Item& item : loaded.value) {
        if (matches(item.key, key)) {
            item.secret = secret;
            return save(loaded.value);
        }
    }
    return KeychainStatus::NotFound;
}

KeychainStatus PasswordFileStore::deleteLast(const KeychainItemKey& key)
{
    KeychainReply<Items> loaded = load();
    if (!loaded.isOk())
        return loaded.status;
    for (qsizetype i = loaded.value.size() - 1; i >= 0; --i) {
        if (matches(loaded.value[i].key, key)) {
            loaded.value.removeAt(i);
            return save(loaded.value);
        }
    }
    return KeychainStatus::NotFound;
}

KeychainReply<QByteArray> PasswordFileStore::readFirst(const KeychainItemKey& key)
{
    const KeychainReply<Items> loaded = load();
    if (!loaded.isOk())
        return {loaded.status, {}};
    for (const Item& item : loaded.value) {
        if (matches(item.key, key))
            return {KeychainStatus::Ok, item.secret};
    }
    return {KeychainStatus::NotFound, {}};
}

} // namespace qf
