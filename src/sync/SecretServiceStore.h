#pragma once

#include "sync/SecretStore.h"

#include <chrono>
#include <optional>

namespace qf {

// Passwords in the desktop's Secret Service (libsecret, synchronous calls) on
// the process's session bus, as DBUS_SESSION_BUS_ADDRESS names it when a call
// starts. Each call connects afresh and lets go of the bus when done, so a
// bus that went away is never reused.
//
// Items carry a schema of three string attributes, "label", "description"
// and "account", matched exactly; counting searches locked and unlocked
// items alike. New items go to the default collection; duplicates are kept.
// Items are ordered oldest first.
//
// No call blocks longer than the deadline: a bus that does not answer, a
// keyring that waits on a prompt nobody can see, end in TimedOut. After
// NotAvailable or TimedOut the store stays silent (answers NotAvailable at
// once) for the rest period, then tries again. Main thread only.
class SecretServiceStore final : public SecretStore {
public:
    struct Options {
        std::chrono::milliseconds deadline{2000};
        std::chrono::milliseconds restAfterSilence{30000};
    };

    SecretServiceStore();
    explicit SecretServiceStore(Options options);

    // Whether a Secret Service answers now (ignores the rest period).
    bool answers();

    KeychainReply<int> count(const KeychainItemKey& key) override;
    KeychainStatus add(const KeychainItemKey& key, const QByteArray& secret) override;
    KeychainStatus modifyFirst(const KeychainItemKey& key, const QByteArray& secret) override;
    KeychainStatus deleteLast(const KeychainItemKey& key) override;
    KeychainReply<QByteArray> readFirst(const KeychainItemKey& key) override;

private:
    Options m_options;
    std::optional<std::chrono::steady_clock::time_point> m_silentSince;
};

} // namespace qf
