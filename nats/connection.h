// Connections to a NATS server.
#pragma once

#include <signal.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "nats/objects.h"

namespace nats {

// A file of credentials has lines "KEY VALUE" with the keys user, password, ca, certificate and key; the last three
// are paths of PEM files, which begin at the folder of the credentials if they are relative. Only its owner may have
// access to it.
struct Access {
    std::string url = {};                        // nats://HOST:PORT or tls://HOST:PORT, several with commas
    std::optional<std::string> credentials = {}; // path of the file
    std::string client_name = {};                // which the server shows
};

// Whether a broken connection is made again.
enum class Reconnects : bool { kNo, kForever };

// Whether the host of an address is this machine, which needs no TLS.
bool is_loopback(const std::string &host);

// The user in the credentials; empty if there is none. Throws Error.
std::string user_of(const Access &access);

// Gets the news of a connection, on threads of libnats.
class Observer {
  public:
    Observer() = default;
    virtual ~Observer() = default;
    Observer(const Observer &) = delete;
    Observer &operator=(const Observer &) = delete;
    virtual void lost() = 0;                           // it is being made again
    virtual void restored() = 0;                       // with its subscriptions
    virtual void closed(const std::string &why) = 0;   // for good, and the last call
    virtual void refused(const std::string &what) = 0; // the server or libnats, without the loss of the connection
};

// Throws Error. An address of another machine needs TLS in both directions. The threads of the library take no signals.
// With an observer, all subscriptions of the process share one thread.
Connection connect(const Access &access, Reconnects reconnects, std::shared_ptr<Observer> observer = nullptr);

// Threads that are made meanwhile take no signals, which are for the program's own threads.
class SignalsBlocked {
  public:
    SignalsBlocked();
    ~SignalsBlocked();
    SignalsBlocked(const SignalsBlocked &) = delete;
    SignalsBlocked &operator=(const SignalsBlocked &) = delete;

  private:
    sigset_t before_;
};

} // namespace nats
