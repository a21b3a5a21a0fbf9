#include "sync/ZRKeychain.h"

#include "sync/PasswordFileStore.h"
#include "sync/SecretServiceStore.h"

#include <QtDebug>

namespace qf {

namespace {

struct Stores {
    std::unique_ptr<SecretStore> secretService;
    std::unique_ptr<SecretStore> passwordFile;
};

Stores& stores()
{
    static Stores current;
    if (!current.passwordFile) {
        if (!current.secretService)
            current.secretService = std::make_unique<SecretServiceStore>();
        current.passwordFile = std::make_unique<PasswordFileStore>(PasswordFileStore::defaultFolder());
    }
    return current;
}

// NotAvailable means there is no service to ask, which is normal on a
// desktop without one and not worth a line per call.
bool serviceFailed(KeychainStatus status)
{
    return status != KeychainStatus::Ok && status != KeychainStatus::NotFound &&
           status != KeychainStatus::NotAvailable;
}

} // namespace

int ZRKeychain::checkForExistanceOfKeychainItem(const QString& itemName, const QString& itemKind,
                                                const QString& username)
{
    const KeychainItemKey key{itemName, itemKind, username};
    Stores& current = stores();
    int total = 0;
    const KeychainReply<int> inFile = current.passwordFile->count(key);
    if (inFile.isOk())
        total += inFile.value;
    else
        qWarning("status %d from SecKeychainSearchCreateFromAttributes", statusCode(inFile.status));
    if (current.secretService) {
        const KeychainReply<int> inService = current.secretService->count(key);
        if (inService.isOk())
            total += inService.value;
        else if (serviceFailed(inService.status))
            qWarning("status %d from SecKeychainSearchCreateFromAttributes", statusCode(inService.status));
    }
    qInfo("%d items found", total);
    return total;
}

bool ZRKeychain::addKeychainItem(const QString& itemName, const QString& itemKind, const QString& username,
                                 const QString& password)
{
    const KeychainItemKey key{itemName, itemKind, username};
    const QByteArray secret = password.toUtf8();
    Stores& current = stores();
    if (current.secretService) {
        const KeychainStatus status = current.secretService->add(key, secret);
        if (status == KeychainStatus::Ok)
            return true;
        if (serviceFailed(status))
            qWarning("Error creating new item: %d", statusCode(status));
    }
    const KeychainStatus status = current.passwordFile->add(key, secret);
    if (status != KeychainStatus::Ok)
        qWarning("Error creating new item: %d", statusCode(status));
    return status == KeychainStatus::Ok;
}

bool ZRKeychain::modifyKeychainItem(const QString& itemName, const QString& itemKind, const QString& username,
                                    const QString& newPassword)
{
    const KeychainItemKey key{itemName, itemKind, username};
    const QByteArray secret = newPassword.toUtf8();
    Stores& current = stores();
    const KeychainReply<int> inFile = current.passwordFile->count(key);
    if (inFile.isOk() && inFile.value > 0) {
        const KeychainStatus status = current.passwordFile->modifyFirst(key, secret);
        if (status != KeychainStatus::Ok)
            qWarning("Error modifying item: %d", statusCode(status));
        return status == KeychainStatus::Ok;
    }

    KeychainStatus status = KeychainStatus::NotFound;
    if (current.secretService) {
        status = current.secretService->modifyFirst(key, secret);
        if (status == KeychainStatus::Ok)
            return true;
    }
    qWarning("Error modifying item: %d", statusCode(status));
    if (status == KeychainStatus::NotFound)
        return false;
    // The service holds the item but would not change it: the file's copy
    // comes first from now on, so the new password is the one read back.
    const KeychainStatus kept = current.passwordFile->add(key, secret);
    if (kept != KeychainStatus::Ok)
        qWarning("Error creating new item: %d", statusCode(kept));
    return kept == KeychainStatus::Ok;
}

bool ZRKeychain::deleteKeychainItem(const QString& itemName, const QString& itemKind, const QString& username)
{
    const KeychainItemKey key{itemName, itemKind, username};
    Stores& current = stores();
    KeychainStatus serviceStatus = KeychainStatus::NotFound;
    if (current.secretService) {
        serviceStatus = current.secretService->deleteLast(key);
        if (serviceStatus == KeychainStatus::Ok)
            return true;
        // Its last item is the last one found: deleting the file's instead
        // would leave the wrong one behind.
        if (serviceStatus == KeychainStatus::Refused || serviceStatus == KeychainStatus::Unreadable) {
            qWarning("Error deleting item: %d", statusCode(serviceStatus));
            return false;
        }
    }
    KeychainStatus status = current.passwordFile->deleteLast(key);
    if (status == KeychainStatus::Ok)
        return true;
    if (status == KeychainStatus::NotFound && serviceFailed(serviceStatus))
        status = serviceStatus;
    qWarning("Error deleting item: %d", statusCode(status));
    return false;
}

QString ZRKeychain::getPasswordFromKeychainItem(const QString& itemName, const QString& itemKind,
                                                const QString& username)
{
    const KeychainItemKey key{itemName, itemKind, username};
    Stores& current = stores();
    const KeychainReply<QByteArray> inFile = current.passwordFile->readFirst(key);
    if (inFile.isOk())
        return passwordFromStoredBytes(inFile.value);
    if (current.secretService) {
        const KeychainReply<QByteArray> inService = current.secretService->readFirst(key);
        if (inService.isOk())
            return passwordFromStoredBytes(inService.value);
        if (inService.status == KeychainStatus::Unreadable || inService.status == KeychainStatus::Refused) {
            qWarning("Error = %d", statusCode(inService.status));
            return {};
        }
    }
    // An unreadable file may hold the item: that is not "no item".
    if (inFile.status != KeychainStatus::NotFound) {
        qWarning("Error = %d", statusCode(inFile.status));
        return {};
    }
    return QStringLiteral("error");
}

QString ZRKeychain::passwordFromStoredBytes(const QByteArray& bytes)
{
    QByteArray cut = bytes.left(maximumPasswordBytes);
    if (bytes.size() > maximumPasswordBytes) {
        // Step back over continuation bytes to the lead byte of the last
        // sequence, and drop that sequence if the cut left it short.
        qsizetype lead = cut.size() - 1;
        while (lead > 0 && cut.size() - lead < 4 && (static_cast<uchar>(cut[lead]) & 0xC0) == 0x80)
            --lead;
        const auto first = static_cast<uchar>(cut[lead]);
        const int length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC0 ? 2 : 1;
        if (lead + length > cut.size())
            cut.truncate(lead);
    }
    const QString text = QString::fromUtf8(cut);
    return text.isNull() ? QStringLiteral("") : text;
}

void ZRKeychain::useStores(std::unique_ptr<SecretStore> secretService, std::unique_ptr<SecretStore> passwordFile)
{
    Stores& current = stores();
    current.secretService = std::move(secretService);
    current.passwordFile =
        passwordFile ? std::move(passwordFile) : std::make_unique<PasswordFileStore>(PasswordFileStore::defaultFolder());
}

void ZRKeychain::useDefaultStores()
{
    Stores& current = stores();
    current.secretService = std::make_unique<SecretServiceStore>();
    current.passwordFile = std::make_unique<PasswordFileStore>(PasswordFileStore::defaultFolder());
}

} // namespace qf
