// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_link/Export.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::link {

/// Why there is no link, or none of what was asked for goes over it; `what()` is one line.
class TARN_LINK_EXPORT LinkError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    LinkError(const LinkError&) = default;
    LinkError& operator=(const LinkError&) = default;
    ~LinkError() override;
};

/// With whom a program is linked.
struct LinkOptions {
    /// Only programs of one domain, 0 to 200, see each other.
    std::uint32_t domain = 0;
    /// The other machines, by name or IPv4 address. With none, nothing leaves this machine, and
    /// only programs on it that have none either are seen. Two machines see each other where each
    /// names the other.
    std::vector<std::string> peers;
    /// Whether machines that nobody names are looked for, too: everybody on the network sees what
    /// is offered then, and may send something.
    bool multicast = false;
};

/// Streams are offered under names of 1 to 100 printable characters of ASCII without any of "*?[]".
TARN_LINK_EXPORT bool isStreamName(const std::string& name);

/// The form of streams that this version writes, and those that it reads.
inline constexpr std::uint32_t writtenVersion = 1;
TARN_LINK_EXPORT const std::vector<std::uint32_t>& readVersions();

/// A stream that somebody offers.
struct LinkOffer {
    std::string name;
    std::uint64_t stream = 0; ///< drawn anew whenever a publisher starts
    std::uint32_t version = 0;
    std::string host;
    std::uint32_t process = 0;
    std::string program;
    bool ended = false;              ///< no more frames will come
    std::vector<std::uint64_t> sent; ///< of a stream that has ended: how many frames per track
    std::uint64_t clock = 0;         ///< the number of the clock of its instants (see `LinkClock`)
};

/// A program's place on the link: publishers, devices and clocks take one each, or share it. What
/// is received comes from anybody who can reach this machine's ports, and is checked before it is
/// used; nothing is encrypted.
///
/// The middleware's own lines are switched off in the whole program from the first link on, also
/// for what else uses it there: what goes wrong is thrown, counted or told.
///
/// Threads: everything may be called from any thread. The library has threads of its own as long as
/// there is a link.
class TARN_LINK_EXPORT Link {
public:
    /// Throws `LinkError` for a domain that there is not, a peer that has no address or to which
    /// there is no route, no network, and for other peers than those of a link of the same domain
    /// that this program has already.
    explicit Link(LinkOptions options = {});
    ~Link();
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    const LinkOptions& options() const noexcept;
    /// The number by which others ask for the clock of this machine (see `LinkClock`), drawn anew
    /// for each link. Whoever asks is answered.
    std::uint64_t clock() const noexcept;
    /// All that is offered now, as far as it is known, by name. A program that has just started
    /// learns of it within moments.
    std::vector<LinkOffer> offers() const;
    /// Why nobody can connect to a stream of this name, in one line: nobody offers it (and what is
    /// offered instead), it is offered in versions that are not read here, there is no route to a
    /// peer; and how many offers were turned away, if more were sent than are let in: it may have
    /// been among them. Empty if it is offered and can be read. Of other domains nothing can be
    /// known: that a stream is offered in another one reads as if nobody offered it, with the
    /// domain looked in.
    std::string whyNot(const std::string& name) const;

private:
    friend class LinkAccess;
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::link
