// Services of a switch description on a NATS server. One loop waits for all of them, and for the moments at which a
// slow one has to send.
#pragma once

#include <qarnservice/qarnservice.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "serve/options.h"
#include "sim/switch.h"

namespace serve {

class Server {
  public:
    // Register the services. Throws std::runtime_error.
    Server(sim::Switch &sw, const Options &options);
    ~Server();
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    // Until one of the blocked signals comes. Throws std::runtime_error.
    void run();

  private:
    using Clock = std::chrono::steady_clock;
    using Request = std::shared_ptr<const qarn_service_request>;
    using Connected = std::unique_ptr<qarn_service, decltype(&qarn_service_close)>;

    struct Served {
        Server *server;
        sim::Service *service;
        uint32_t die_after;        // 0: never
        std::size_t fragment_size; // of the description; 0: none
        Connected connected;
    };
    struct Sending {
        Served *served;
        Request request;
        sim::Bytes message;
        bool is_the_last; // the process dies after it
    };

    void open(sim::Service &service, const std::string &switch_name, const std::string &vdc);
    void watch(int descriptor, Served *served) const;
    int milliseconds_to_next() const;

    static int on_request(void *served, const qarn_service_request *request, qarn_service_reply *reply);
    bool has_room();
    std::deque<sim::Message> messages_for(Served &served, const qarn_service_request *request);
    void keep(Served &served, const Request &request, std::deque<sim::Message> messages);
    void send_due();
    static void send(const Sending &sending);

    sim::Switch &switch_;
    const Options &options_;
    int loop_, signals_;
    std::vector<std::unique_ptr<Served>> served_;
    std::multimap<Clock::time_point, Sending> sendings_;
    bool is_full_ = false; // and that was reported
};

} // namespace serve
