#include "sync/SecretServiceStore.h"

#include <QtDebug>
#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <libsecret/secret.h>

namespace qf {

namespace {

using Clock = std::chrono::steady_clock;

const SecretSchema kSchema = {
    "org.quillfen.StoredPassword",
    SECRET_SCHEMA_NONE,
    {
        {"label", SECRET_SCHEMA_ATTRIBUTE_STRING},
        {"description", SECRET_SCHEMA_ATTRIBUTE_STRING},
        {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
        {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING},
    },
    0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
};

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

struct GHashTableUnref {
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
};
struct SecretValueUnref {
    void operator()(SecretValue* value) const { secret_value_unref(value); }
};

std::unique_ptr<GHashTable, GHashTableUnref> attributesFor(const KeychainItemKey& key)
{
    const QByteArray label = key.itemName.toUtf8();
    const QByteArray description = key.itemKind.toUtf8();
    const QByteArray account = key.username.toUtf8();
    return std::unique_ptr<GHashTable, GHashTableUnref>(
        secret_attributes_build(&kSchema, "label", label.constData(), "description", description.constData(),
                                "account", account.constData(), nullptr));
}

std::unique_ptr<SecretValue, SecretValueUnref> valueFor(const QByteArray& secret)
{
    return std::unique_ptr<SecretValue, SecretValueUnref>(
        secret_value_new(secret.constData(), secret.size(), "text/plain"));
}

// The sync calls iterate a private main context, so no GLib timer can stop
// them; a watch thread cancels the call's cancellable instead.
class Deadline {
public:
    explicit Deadline(std::chrono::milliseconds limit) : m_cancellable(g_cancellable_new())
    {
        m_watch = std::thread([this, limit] {
            std::unique_lock lock(m_mutex);
            if (!m_finished.wait_for(lock, limit, [this] { return m_done; }))
                g_cancellable_cancel(m_cancellable.get());
        });
    }
    ~Deadline()
    {
        {
            std::lock_guard lock(m_mutex);
            m_done = true;
        }
        m_finished.notify_one();
        m_watch.join();
    }
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;

    GCancellable* cancellable() const { return m_cancellable.get(); }
    bool expired() const { return g_cancellable_is_cancelled(m_cancellable.get()); }

private:
    GObjectPtr<GCancellable> m_cancellable;
    std::mutex m_mutex;
    std::condition_variable m_finished;
    bool m_done = false;
    std::thread m_watch;
};

// A main context of the call's own, made the thread default while the call
// runs and drained before it goes, so nothing libsecret queues outlives it.
class CallContext {
public:
    CallContext() : m_context(g_main_context_new()) { g_main_context_push_thread_default(m_context); }
    ~CallContext()
    {
        while (g_main_context_iteration(m_context, FALSE)) {
        }
        g_main_context_pop_thread_default(m_context);
        g_main_context_unref(m_context);
    }
    CallContext(const CallContext&) = delete;
    CallContext& operator=(const CallContext&) = delete;

    GMainContext* get() const { return m_context; }

private:
    GMainContext* m_context;
};

bool isSilence(KeychainStatus status)
{
    return status == KeychainStatus::NotAvailable || status == KeychainStatus::TimedOut;
}

// One operation's connection to the service, under one deadline.
class Call {
public:
    Call(const SecretServiceStore::Options& options, std::optional<Clock::time_point>& silentSince)
        : m_options(options), m_silentSince(silentSince), m_deadline(options.deadline)
    {
    }

    bool open(bool ignoreRest = false)
    {
        if (!ignoreRest && m_silentSince && Clock::now() - *m_silentSince < m_options.restAfterSilence) {
            m_status = KeychainStatus::NotAvailable;
            return false;
        }
        GError* error = nullptr;
        // The bus is the process-wide singleton that libsecret uses as well. A
        // dead bus must not end the process, which GLib does by default.
        m_bus.reset(g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable(), &error));
        if (!m_bus) {
            fail(error, KeychainStatus::NotAvailable);
            return false;
        }
        g_dbus_connection_set_exit_on_close(m_bus.get(), FALSE);
        m_service.reset(secret_service_open_sync(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_OPEN_SESSION,
                                                 cancellable(), &error));
        if (!m_service) {
            fail(error, KeychainStatus::NotAvailable);
            return false;
        }
        m_silentSince.reset();
        return true;
    }

    // Records a failure: the deadline wins over whatever the call reported.
    KeychainStatus fail(GError* error, KeychainStatus otherwise = KeychainStatus::Refused)
    {
        m_status = m_deadline.expired() ? KeychainStatus::TimedOut : classify(error, otherwise);
        if (isSilence(m_status)) {
            if (!m_silentSince) {
                const QString why = m_status == KeychainStatus::TimedOut
                                        ? QStringLiteral("no answer within %1 ms").arg(m_options.deadline.count())
                                        : QString::fromUtf8(error ? error->message : "");
                qInfo().noquote()
                    << QStringLiteral("No Secret Service answers (%1); passwords go to the password file").arg(why);
            }
            m_silentSince = Clock::now();
        } else if (error) {
            qInfo().noquote() << "Secret Service:" << QString::fromUtf8(error->message);
        }
        g_clear_error(&error);
        return m_status;
    }

    KeychainStatus status() const { return m_status; }
    SecretService* service() const { return m_service.get(); }
    GCancellable* cancellable() const { return m_deadline.cancellable(); }

    // Matching items, oldest first; object paths break ties in creation order.
    std::vector<GObjectPtr<SecretItem>> search(const KeychainItemKey& key, GError** error)
    {
        GList* found = secret_service_search_sync(service(), &kSchema, attributesFor(key).get(), SECRET_SEARCH_ALL,
                                                  cancellable(), error);
        std::vector<GObjectPtr<SecretItem>> items;
        for (GList* node = found; node; node = node->next)
            items.emplace_back(static_cast<SecretItem*>(node->data));
        g_list_free(found);
        auto order = [](const GObjectPtr<SecretItem>& item) {
            const QByteArray path(g_dbus_proxy_get_object_path(G_DBUS_PROXY(item.get())));
            return std::make_tuple(secret_item_get_created(item.get()), path.size(), path);
        };
        std::stable_sort(items.begin(), items.end(), [&](const auto& a, const auto& b) { return order(a) < order(b); });
        return items;
    }

    // The sync form of this call leaves a signal dispatch queued on a context
    // nobody runs again, which keeps GLib's one session-bus connection alive:
    // a bus that went away would then be handed out closed for good. On the
    // call's own context, drained at the end, nothing is left holding it.
    SecretItem* createItem(SecretCollection* collection, const KeychainItemKey& key, const QByteArray& secret,
                           GError** error)
    {
        const QByteArray label = key.itemName.toUtf8();
        GAsyncResult* result = nullptr;
        secret_item_create(
            collection, &kSchema, attributesFor(key).get(), label.constData(), valueFor(secret).get(),
            SECRET_ITEM_CREATE_NONE, cancellable(),
            [](GObject*, GAsyncResult* done, gpointer out) {
                *static_cast<GAsyncResult**>(out) = G_ASYNC_RESULT(g_object_ref(done));
            },
            &result);
        while (!result)
            g_main_context_iteration(m_context.get(), TRUE);
        SecretItem* item = secret_item_create_finish(result, error);
        g_object_unref(result);
        return item;
    }

    // Unlocking may show a prompt; the deadline bounds it like any call.
    bool unlock(gpointer object, bool locked, GError** error)
    {
        if (!locked)
            return true;
        GList* objects = g_list_append(nullptr, object);
        GList* unlocked = nullptr;
        secret_service_unlock_sync(service(), objects, cancellable(), &unlocked, error);
        const bool done = unlocked != nullptr;
        g_list_free(objects);
        g_list_free_full(unlocked, g_object_unref);
        return done;
    }

private:
    static KeychainStatus classify(const GError* error, KeychainStatus otherwise)
    {
        if (error && error->domain == G_DBUS_ERROR &&
            (error->code == G_DBUS_ERROR_SERVICE_UNKNOWN || error->code == G_DBUS_ERROR_NAME_HAS_NO_OWNER ||
             error->code == G_DBUS_ERROR_NO_SERVER || error->code == G_DBUS_ERROR_DISCONNECTED))
            return KeychainStatus::NotAvailable;
        if (error && error->domain == G_IO_ERROR && error->code == G_IO_ERROR_CLOSED)
            return KeychainStatus::NotAvailable;
        return otherwise;
    }

    const SecretServiceStore::Options& m_options;
    std::optional<Clock::time_point>& m_silentSince;
    CallContext m_context; // outlives the objects below: drained once they are gone
    Deadline m_deadline;
    GObjectPtr<GDBusConnection> m_bus;
    GObjectPtr<SecretService> m_service;
    KeychainStatus m_status = KeychainStatus::Ok;
};

} // namespace

SecretServiceStore::SecretServiceStore() : SecretServiceStore(Options{}) {}

SecretServiceStore::SecretServiceStore(Options options) : m_options(options) {}

bool SecretServiceStore::answers()
{
    Call call(m_options, m_silentSince);
    return call.open(true);
}

KeychainReply<int> SecretServiceStore::count(const KeychainItemKey& key)
{
    Call call(m_options, m_silentSince);
    if (!call.open())
        return {call.status(), 0};
    GError* error = nullptr;
    const auto items = call.search(key, &error);
    if (error)
        return {call.fail(error), 0};
    return {KeychainStatus::Ok, static_cast<int>(items.size())};
}

KeychainStatus SecretServiceStore::add(const KeychainItemKey& key, const QByteArray& secret)
{
    Call call(m_options, m_silentSince);
    if (!call.open())
        return call.status();
    GError* error = nullptr;
    // No default collection (a keyring never unlocked here) is a refusal,
    // not a reason to make one behind a prompt.
    GObjectPtr<SecretCollection> collection(
        secret_collection_for_alias_sync(call.service(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE,
                                         call.cancellable(), &error));
    if (!collection)
        return call.fail(error);
    if (!call.unlock(collection.get(), secret_collection_get_locked(collection.get()), &error))
        return call.fail(error);
    GObjectPtr<SecretItem> item(call.createItem(collection.get(), key, secret, &error));
    return item ? KeychainStatus::Ok : call.fail(error);
}

KeychainStatus SecretServiceStore::modifyFirst(const KeychainItemKey& key, const QByteArray& secret)
{
    Call call(m_options, m_silentSince);
    if (!call.open())
        return call.status();
    GError* error = nullptr;
    const auto items = call.search(key, &error);
    if (error)
        return call.fail(error);
    if (items.empty())
        return KeychainStatus::NotFound;
    SecretItem* item = items.front().get();
    if (!call.unlock(item, secret_item_get_locked(item), &error) ||
        !secret_item_set_secret_sync(item, valueFor(secret).get(), call.cancellable(), &error))
        return call.fail(error);
    return KeychainStatus::Ok;
}

KeychainStatus SecretServiceStore::deleteLast(const KeychainItemKey& key)
{
    Call call(m_options, m_silentSince);
    if (!call.open())
        return call.status();
    GError* error = nullptr;
    const auto items = call.search(key, &error);
    if (error)
        return call.fail(error);
    if (items.empty())
        return KeychainStatus::NotFound;
    SecretItem* item = items.back().get();
    if (!call.unlock(item, secret_item_get_locked(item), &error) ||
        !secret_item_delete_sync(item, call.cancellable(), &error))
        return call.fail(error);
    return KeychainStatus::Ok;
}

KeychainReply<QByteArray> SecretServiceStore::readFirst(const KeychainItemKey& key)
{
    Call call(m_options, m_silentSince);
    if (!call.open())
        return {call.status(), {}};
    GError* error = nullptr;
    const auto items = call.search(key, &error);
    if (error)
        return {call.fail(error), {}};
    if (items.empty())
        return {KeychainStatus::NotFound, {}};
    SecretItem* item = items.front().get();
    if (!call.unlock(item, secret_item_get_locked(item), &error) ||
        !secret_item_load_secret_sync(item, call.cancellable(), &error)) {
        // The item exists, so whatever stopped the read makes it unreadable.
        call.fail(error);
        return {KeychainStatus::Unreadable, {}};
    }
    std::unique_ptr<SecretValue, SecretValueUnref> value(secret_item_get_secret(item));
    if (!value)
        return {KeychainStatus::Unreadable, {}};
    gsize length = 0;
    const gchar* bytes = secret_value_get(value.get(), &length);
    return {KeychainStatus::Ok, QByteArray(bytes, static_cast<qsizetype>(length))};
}

} // namespace qf
