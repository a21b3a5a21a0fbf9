#pragma once

#include "sync/SecretStore.h"

#include <QList>

namespace qf {

// Keeps passwords in one file readable by the user alone (mode 0600, in a
// 0700 folder), for systems where no Secret Service answers or where it
// refuses a write. The secrets are encoded, not encrypted: the file's mode is
// the protection, as for an ssh key.
//
// Every call reads the file afresh and every change rewrites it atomically,
// so two processes never see half a file. A missing file is an empty store.
//
// A file that cannot be understood is never overwritten: reads answer
// Corrupt, modify and delete refuse with Corrupt and leave it as it is, and
// add (a password the user just typed must not be lost) first renames it to
// "<file>.unreadable-<UTC time>" beside it, logs that, and starts a new file.
class PasswordFileStore final : public SecretStore {
public:
    explicit PasswordFileStore(QString folder);

    // The application's config folder.
    static QString defaultFolder();
    static QString fileName() { return QStringLiteral("stored-passwords.json"); }
    QString filePath() const;

    KeychainReply<int> count(const KeychainItemKey& key) override;
    KeychainStatus add(const KeychainItemKey& key, const QByteArray& secret) override;
    KeychainStatus modifyFirst(const KeychainItemKey& key, const QByteArray& secret) override;
    KeychainStatus deleteLast(const KeychainItemKey& key) override;
    KeychainReply<QByteArray> readFirst(const KeychainItemKey& key) override;

private:
    struct Item {
        KeychainItemKey key;
        QByteArray secret;
    };
    using Items = QList<Item>;

    KeychainReply<Items> load() const;
    KeychainStatus save(const Items& items) const;
    bool setAsideUnreadableFile() const;

    QString m_folder;
};

} // namespace qf
