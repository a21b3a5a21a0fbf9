#pragma once

#include "sync/SecretStore.h"

#include <QString>
#include <memory>

namespace qf {

// The texts of the one secret the application keeps: the database password.
namespace DatabasePasswordItem {
inline const QString itemName = QStringLiteral("Quillfen DB Password");
inline const QString itemKind = QStringLiteral("application password");
inline const QString username = QStringLiteral("Quillfen User");
} // namespace DatabasePasswordItem

// Stored passwords, identified by item name, item kind and user name, all
// matched exactly. Failures are logged, never shown.
//
// Two stores answer together: the Secret Service when one answers, and the
// user's password file. A write the Secret Service cannot or will not take
// goes to the file, so a typed password is never lost. Items in the file come
// before those in the Secret Service, because the file only holds what the
// service refused, which is newer than anything the service still has. So
// "first matching item" is the file's first if it has one, and "last" is the
// Secret Service's last if it has one.
//
// Main thread only. Each call may block up to the Secret Service's deadline.
class ZRKeychain {
public:
    ZRKeychain() = delete;

    static constexpr int maximumPasswordBytes = 1023;

    // The number of matching items in both stores (0 = none).
    static int checkForExistanceOfKeychainItem(const QString& itemName, const QString& itemKind,
                                               const QString& username);
    static bool addKeychainItem(const QString& itemName, const QString& itemKind, const QString& username,
                                const QString& password);
    // Changes the first matching item; false when none matches.
    static bool modifyKeychainItem(const QString& itemName, const QString& itemKind, const QString& username,
                                   const QString& newPassword);
    // Deletes the last matching item found; false when none matches.
    static bool deleteKeychainItem(const QString& itemName, const QString& itemKind, const QString& username);
    // The first matching item's password, read as at most 1023 bytes; the text
    // "error" when no item matches (callers check existence first); a null
    // QString when an item matches but its content cannot be read.
    static QString getPasswordFromKeychainItem(const QString& itemName, const QString& itemKind,
                                               const QString& username);

    // Stored bytes as text: cut to 1023 bytes, and where the cut falls inside
    // a UTF-8 sequence the broken sequence is dropped, so the text never ends
    // in a replacement character the user did not type.
    static QString passwordFromStoredBytes(const QByteArray& bytes);

    // Replaces the stores; a null secretService means there is none. The
    // defaults are a SecretServiceStore and a PasswordFileStore in the
    // application's config folder, made at first use.
    static void useStores(std::unique_ptr<SecretStore> secretService, std::unique_ptr<SecretStore> passwordFile);
    static void useDefaultStores();
};

} // namespace qf
