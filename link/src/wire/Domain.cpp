// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "wire/Domain.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarn::link {

namespace {

constexpr std::uint32_t lastDomain = 200; // above, the numbers of its ports would leave their range
constexpr const char* loopback = "127.0.0.1";

std::string textOf(const in_addr& address) {
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &address, text.data(), text.size());
    return text.data();
}

struct Route {
    std::string peer;  ///< its address
    std::string local; ///< that of this machine on the way there
};

sockaddr_in addressOf(const std::string& host) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    const int problem = getaddrinfo(host.c_str(), nullptr, &hints, &found);
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> list(found, freeaddrinfo);
    if (problem != 0 || found == nullptr) {
        throw LinkError("peer '" + host + "': " + gai_strerror(problem));
    }
    sockaddr_in address{};
    std::memcpy(&address, found->ai_addr, sizeof address);
    return address;
}

/// Asks the machine, sends nothing.
Route routeTo(const std::string& host) {
    constexpr std::uint16_t anyPort = 7400;
    sockaddr_in address = addressOf(host);
    address.sin_port = htons(anyPort);
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in local{};
    socklen_t size = sizeof local;
    // NOLINTBEGIN(cppcoreguidelines-pro-type-reinterpret-cast): as sockets have it
    const bool isReached =
        socket >= 0 &&
        connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        getsockname(socket, reinterpret_cast<sockaddr*>(&local), &size) == 0;
    // NOLINTEND(cppcoreguidelines-pro-type-reinterpret-cast)
    const int problem = errno;
    if (socket >= 0) {
        close(socket);
    }
    if (!isReached) {
        throw LinkError("no route to '" + host + "': " + std::generic_category().message(problem));
    }
    return {textOf(address.sin_addr), textOf(local.sin_addr)};
}

bool isLoopback(const std::string& address) { return address.rfind("127.", 0) == 0; }

/// How the middleware is set up. What is written in it comes from this file and from addresses.
std::string configurationFor(const LinkOptions& options) {
    std::vector<std::string> peers;
    std::vector<std::string> interfaces;
    for (const std::string& host : options.peers) {
        const Route route = routeTo(host);
        peers.push_back(route.peer);
        if (!isLoopback(route.local)) {
            interfaces.push_back(route.local);
        }
    }
    std::sort(interfaces.begin(), interfaces.end());
    interfaces.erase(std::unique(interfaces.begin(), interfaces.end()), interfaces.end());
    // This machine, too, by the addresses that its programs send from.
    peers.insert(peers.end(), interfaces.begin(), interfaces.end());
    if (interfaces.empty()) {
        peers.emplace_back(loopback);
    }

    std::string xml = "<CycloneDDS><Domain><General><Interfaces>";
    if (options.multicast && interfaces.empty()) {
        xml += R"(<NetworkInterface autodetermine="true"/>)";
    }
    for (const std::string& address : interfaces) {
        xml += "<NetworkInterface address=\"" + address + "\"/>";
    }
    // Through one of several, the middleware would send to others from an address they cannot
    // answer.
    if (!options.multicast && interfaces.empty()) {
        xml += R"(<NetworkInterface address="127.0.0.1"/>)";
    }
    xml += "</Interfaces><AllowMulticast>";
    xml += options.multicast ? "true" : "false";
    xml += "</AllowMulticast>";
    // What goes through a network, or a tunnel in it, is never split on its way: of a message that
    // is, one lost packet takes all with it, and what came of it fills the memory in which the
    // system waits for the rest, until it waits for nothing any more.
    if (options.multicast || !interfaces.empty()) {
        xml += "<MaxMessageSize>1384B</MaxMessageSize>"
               "<MaxRexmitMessageSize>1384B</MaxRexmitMessageSize>"
               "<FragmentSize>1280B</FragmentSize>";
    }
    // A lost packet is asked for again at once; nobody who is late holds up the publisher; who
    // comes late is found soon.
    xml += "</General><Discovery><ParticipantIndex>auto</ParticipantIndex>"
           "<MaxAutoParticipantIndex>31</MaxAutoParticipantIndex>"
           "<SPDPInterval>300 ms</SPDPInterval><Peers>";
    for (const std::string& peer : peers) {
        xml += "<Peer Address=\"" + peer + "\"/>";
    }
    xml +=
        "</Peers></Discovery><Internal><MaxSampleSize>" + std::to_string(maxSampleBytes) +
        "B</MaxSampleSize><HeartbeatInterval>20 ms</HeartbeatInterval><NackDelay>1 ms</NackDelay>"
        "<SPDPResponseMaxDelay>0 ms</SPDPResponseMaxDelay>"
        "<Watermarks><WhcAdaptive>false</WhcAdaptive><WhcHigh>64 MB</WhcHigh></Watermarks>"
        "</Internal><Tracing><Verbosity>none</Verbosity></Tracing></Domain></CycloneDDS>";
    return xml;
}

} // namespace

std::string routeProblem(const std::string& host) {
    try {
        routeTo(host);
        return {};
    } catch (const LinkError& error) {
        return error.what();
    }
}

Domain::Domain(const LinkOptions& options)
    : entity_(dds_create_domain(options.domain, configurationFor(options).c_str()),
              "no network for a link") {
    // What goes wrong is told in codes; the middleware's own lines do not belong on a host's
    // terminal.
    dds_set_log_mask(DDS_LC_FATAL);
}

/// The domains that this program is in: the middleware has one of each number.
class DomainRegistry {
public:
    std::shared_ptr<Domain> of(const LinkOptions& options) {
        std::unique_lock<std::mutex> lock(mutex_);
        Entry& entry = entries_[options.domain];
        std::shared_ptr<Domain> domain = entry.domain.lock();
        if (domain == nullptr) {
            left_.wait(lock, [&entry] { return !entry.isThere; }); // somebody is just leaving it
            // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): who deletes it says so here
            domain.reset(new Domain(options), [this, &entry](Domain* gone) { leave(entry, gone); });
            entry = {domain, true, options.peers, options.multicast};
        } else if (entry.peers != options.peers || entry.multicast != options.multicast) {
            lock.unlock(); // whoever holds the last reference takes the lock
            throw LinkError("this program has a link of domain " + std::to_string(options.domain) +
                            " already, with other peers");
        }
        return domain;
    }

private:
    struct Entry {
        std::weak_ptr<Domain> domain;
        bool isThere = false;
        std::vector<std::string> peers;
        bool multicast = false;
    };

    void leave(Entry& entry, Domain* domain) {
        delete domain; // NOLINT(cppcoreguidelines-owning-memory)
        const std::lock_guard<std::mutex> lock(mutex_);
        entry.isThere = false;
        left_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable left_;
    std::map<std::uint32_t, Entry> entries_; ///< entries stay where they are
};

std::shared_ptr<Domain> Domain::of(const LinkOptions& options) {
    if (options.domain > lastDomain) {
        throw LinkError("there is no domain " + std::to_string(options.domain) +
                        ": they go from 0 to " + std::to_string(lastDomain));
    }
    static DomainRegistry registry;
    return registry.of(options);
}

} // namespace tarn::link
