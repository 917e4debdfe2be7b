// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Object.h>
#include <tarn_kit/Export.h>

#include <memory>

namespace tarn::kit {

/// A link between a parent and a child that undoes itself: when the guard is destroyed, and also
/// when one of the two objects is, whichever comes first. So a host that keeps its objects and
/// guards as members or locals may destroy them in any order.
///
///     Character character("1", "Ada");
///     MySolver solver;
///     kit::Linked link(character, solver); // or after character.setSolver(&solver)
///
/// While both live, undoing the link is `parent.removeChild(&child)` with its announcements. Of an
/// object that is being destroyed, listeners hear nothing any more; the other one announces that
/// the link goes, and a child whose parent is destroyed hears of it once more as added just before.
/// What an object keeps beside its links (a scene its selection and its current character) is not
/// part of them.
///
/// The guard keeps a user object under a key that begins with "tarn_kit." on both.
///
/// Threads: as the objects, from one thread at a time.
class TARN_KIT_EXPORT Linked {
public:
    /// No link.
    Linked() noexcept;
    /// Links the two, unless they are linked already: then it takes over that link.
    Linked(Object& parent, Object& child);
    Linked(Linked&& other) noexcept;
    Linked& operator=(Linked&& other) noexcept;
    /// Undoes the link.
    ~Linked();

    /// Whether both objects live and this guard keeps their link.
    bool isLinked() const noexcept;
    /// Undoes the link now.
    void unlink();
    /// Forgets the link, which stays.
    void release();

private:
    struct PrivateData;
    std::shared_ptr<PrivateData> d_; ///< shared with the two objects
};

} // namespace tarn::kit
