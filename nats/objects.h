// Owners of libnats objects, and its failures as exceptions.
#pragma once

#include <nats/nats.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace nats {

template <auto destroy>
struct Destroy {
    template <typename Object>
    void operator()(Object *object) const {
        destroy(object);
    }
};

using Connection = std::unique_ptr<natsConnection, Destroy<natsConnection_Destroy>>;
using Options = std::unique_ptr<natsOptions, Destroy<natsOptions_Destroy>>;
using Subscription = std::unique_ptr<natsSubscription, Destroy<natsSubscription_Destroy>>;
using Message = std::unique_ptr<natsMsg, Destroy<natsMsg_Destroy>>;
using JetStream = std::unique_ptr<jsCtx, Destroy<jsCtx_Destroy>>;
using Bucket = std::unique_ptr<kvStore, Destroy<kvStore_Destroy>>;
using Entry = std::unique_ptr<kvEntry, Destroy<kvEntry_Destroy>>;
using Watcher = std::unique_ptr<kvWatcher, Destroy<kvWatcher_Destroy>>;

// What failed and what to do about it, for the user.
class Error : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The server has not answered in time.
class NoAnswer : public Error {
  public:
    using Error::Error;
};

// Throws Error with "WHAT: the library's text", unless the status is NATS_OK.
void check(natsStatus status, const std::string &what);

// An object that a function of the library makes: made<Bucket>("bucket", js_KeyValue, js, name).
template <typename Owner, typename Function, typename... Arguments>
Owner made(const std::string &what, Function function, Arguments... arguments) {
    typename Owner::pointer object = nullptr;
    const natsStatus status = function(&object, arguments...);
    Owner owner(object);
    check(status, what);
    return owner;
}

} // namespace nats
