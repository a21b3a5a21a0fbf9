#pragma once

#include <QByteArray>
#include <QString>

namespace qf {

// The three texts that identify a stored password; all are matched exactly.
struct KeychainItemKey {
    QString itemName; // the item's label
    QString itemKind; // its description
    QString username; // its account
};

// Outcome codes of a secret store, also the numbers in the keychain's log lines.
enum class KeychainStatus : int {
    Ok = 0,
    NotAvailable = -1, // no store answers (no session bus, no Secret Service)
    TimedOut = -2,     // the store did not answer within its deadline
    Refused = -3,      // the store answered but did not do it (locked, no collection)
    NotFound = -4,     // no item matches
    Corrupt = -5,      // the store's file cannot be understood
    WriteFailed = -6,  // the store's file could not be written
    Unreadable = -7,   // the item exists but its content cannot be read
};

inline int statusCode(KeychainStatus status) { return static_cast<int>(status); }

// A store's answer: a status and, when Ok, a value.
template <class T>
struct KeychainReply {
    KeychainStatus status = KeychainStatus::Ok;
    T value{};

    bool isOk() const { return status == KeychainStatus::Ok; }
};

// One place that keeps generic passwords. Items with equal keys may repeat;
// "first" and "last" follow the store's own stable order (oldest first).
// Secrets are opaque bytes here: cutting and decoding belong to ZRKeychain.
class SecretStore {
public:
    virtual ~SecretStore() = default;

    virtual KeychainReply<int> count(const KeychainItemKey& key) = 0;
    virtual KeychainStatus add(const KeychainItemKey& key, const QByteArray& secret) = 0;
    virtual KeychainStatus modifyFirst(const KeychainItemKey& key, const QByteArray& secret) = 0;
    virtual KeychainStatus deleteLast(const KeychainItemKey& key) = 0;
    virtual KeychainReply<QByteArray> readFirst(const KeychainItemKey& key) = 0;
};

} // namespace qf
