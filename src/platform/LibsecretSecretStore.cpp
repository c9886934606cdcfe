#include "platform/LibsecretSecretStore.h"

#include <libsecret/secret.h>
#include <sys/stat.h>

#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <string_view>
#include <thread>

#include "platform/Log.h"

namespace folvane {
namespace {

constexpr const char* schemaName = "co.tessavel.Folvane";
constexpr const char* itemAttribute = "item";
constexpr const char* secretServiceName = "org.freedesktop.secrets";

const SecretSchema* schema() {
    static const SecretSchema value = [] {
        SecretSchema result{};
        result.name = schemaName;
        result.flags = SECRET_SCHEMA_NONE;
        result.attributes[0].name = itemAttribute;
        result.attributes[0].type = SECRET_SCHEMA_ATTRIBUTE_STRING;
        return result;
    }();
    return &value;
}

// Takes a GError and gives its message, freeing it.
std::string takeMessage(GError* error) {
    std::string message = error && error->message ? error->message : "unknown error";
    if (error) g_error_free(error);
    return message;
}

// Cancels a GCancellable when a timeout passes before the object is destroyed.
class Deadline {
  public:
    Deadline(GCancellable* cancellable, std::chrono::milliseconds timeout)
        : watcher_([this, cancellable, timeout] {
              std::unique_lock lock(mutex_);
              if (!done_.wait_for(lock, timeout, [this] { return finished_; })) {
                  g_cancellable_cancel(cancellable);
              }
          }) {}
    ~Deadline() {
        {
            std::lock_guard lock(mutex_);
            finished_ = true;
        }
        done_.notify_all();
        watcher_.join();
    }

  private:
    std::mutex mutex_;
    std::condition_variable done_;
    bool finished_ = false;
    std::thread watcher_;  // last: it uses the members above
};

bool callReturnsTrue(GDBusConnection* bus, const char* method, GVariant* parameters,
                     GCancellable* cancellable, int timeoutMs, bool listContainsService) {
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
        parameters, listContainsService ? G_VARIANT_TYPE("(as)") : G_VARIANT_TYPE("(b)"),
        G_DBUS_CALL_FLAGS_NONE, timeoutMs, cancellable, &error);
    if (!reply) {
        log(std::string("Secret Service check failed: ") + takeMessage(error));
        return false;
    }
    bool result = false;
    if (listContainsService) {
        GVariantIter* names = nullptr;
        g_variant_get(reply, "(as)", &names);
        const gchar* name = nullptr;
        while (g_variant_iter_loop(names, "&s", &name)) {
            if (std::string_view(name) == secretServiceName) result = true;
        }
        g_variant_iter_free(names);
    } else {
        gboolean owned = FALSE;
        g_variant_get(reply, "(b)", &owned);
        result = owned;
    }
    g_variant_unref(reply);
    return result;
}

// The session bus's address as GLib would find it, short of launching a bus:
// the environment's, else the socket in the runtime directory.
std::optional<std::string> sessionBusAddress() {
    if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address && *address) {
        return address;
    }
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (!runtime || !*runtime) return std::nullopt;
    const std::string socketPath = std::string(runtime) + "/bus";
    struct stat status {};
    if (::stat(socketPath.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) return std::nullopt;
    gchar* escaped = g_dbus_address_escape_value(socketPath.c_str());
    std::string address = std::string("unix:path=") + escaped;
    g_free(escaped);
    return address;
}

}  // namespace

LibsecretSecretStore::LibsecretSecretStore(std::string prefix) : prefix_(std::move(prefix)) {}

bool LibsecretSecretStore::isServiceReachable(std::chrono::milliseconds timeout) {
    const auto addressText = sessionBusAddress();
    if (!addressText) {
        log("No session bus is running");
        return false;
    }
    const char* address = addressText->c_str();
    GError* error = nullptr;

    // A private connection: it follows the current environment and is closed
    // here, whatever libsecret's own shared connection does.
    GCancellable* cancellable = g_cancellable_new();
    bool reachable = false;
    {
        Deadline deadline(cancellable, timeout);
        GDBusConnection* bus = g_dbus_connection_new_for_address_sync(
            address,
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, cancellable, &error);
        if (!bus) {
            log("Cannot reach the session bus: " + takeMessage(error));
        } else {
            const int timeoutMs = static_cast<int>(timeout.count());
            reachable =
                callReturnsTrue(bus, "NameHasOwner", g_variant_new("(s)", secretServiceName),
                                cancellable, timeoutMs, false) ||
                callReturnsTrue(bus, "ListActivatableNames", nullptr, cancellable, timeoutMs, true);
            g_dbus_connection_close_sync(bus, nullptr, nullptr);
            g_object_unref(bus);
            if (!reachable) log("No Secret Service on the session bus");
        }
    }
    g_object_unref(cancellable);
    return reachable;
}

std::optional<std::string> LibsecretSecretStore::read(const std::string& name) {
    const std::string item = prefix_ + name;
    GError* error = nullptr;
    gchar* secret = secret_password_lookup_sync(schema(), nullptr, &error, itemAttribute,
                                                item.c_str(), nullptr);
    if (error) {
        log("Cannot read " + item + " from the Secret Service: " + takeMessage(error));
        if (secret) secret_password_free(secret);
        return std::nullopt;
    }
    if (!secret) return std::nullopt;
    std::string result(secret);
    secret_password_free(secret);
    return result;
}

bool LibsecretSecretStore::write(const std::string& name, const std::string& secret) {
    const std::string item = prefix_ + name;
    GError* error = nullptr;
    const gboolean stored = secret_password_store_sync(
        schema(), SECRET_COLLECTION_DEFAULT, item.c_str(), secret.c_str(), nullptr, &error,
        itemAttribute, item.c_str(), nullptr);
    if (!stored || error) {
        log("Cannot store " + item + " in the Secret Service: " + takeMessage(error));
        return false;
    }
    return true;
}

bool LibsecretSecretStore::remove(const std::string& name) {
    const std::string item = prefix_ + name;
    GError* error = nullptr;
    secret_password_clear_sync(schema(), nullptr, &error, itemAttribute, item.c_str(), nullptr);
    if (error) {
        log("Cannot remove " + item + " from the Secret Service: " + takeMessage(error));
        return false;
    }
    return true;
}

}  // namespace folvane
