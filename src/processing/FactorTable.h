// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tsignal/Signal.h>

#include <algorithm>
#include <any>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace tarn {

/// Callables by number. They are host code that may replace or remove any of them, itself included,
/// or destroy the table: each stays for as long as a call of it lasts. What is taken out while it
/// runs pays for that; a call as such costs no more than the look-up.
template <class Function>
class CallableTable {
public:
    struct Entry {
        Function function;
        int calls = 0;                  ///< how many of it are running
        bool isTableGone = false;       ///< the table was destroyed while it ran
        CallableTable* table = nullptr; ///< from which it was taken out while it ran
        std::shared_ptr<void> self;     ///< the entry's own node since then
    };

    /// A call of an entry, for as long as this lives.
    class Call {
    public:
        explicit Call(Entry& entry) : entry_(entry) { ++entry_.calls; }
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;
        ~Call() {
            if (--entry_.calls == 0 && entry_.self != nullptr) {
                letGo(entry_);
            }
        }

    private:
        // On its own, as it is rare, to keep what is called all the time small.
        [[gnu::noinline]] static void letGo(Entry& entry) {
            const std::shared_ptr<void> last = std::move(entry.self);
            if (!entry.isTableGone) {
                std::vector<Entry*>& out = entry.table->takenOut_;
                out.erase(std::find(out.begin(), out.end(), &entry));
            }
        }

        Entry& entry_;
    };

    CallableTable() = default;
    CallableTable(const CallableTable&) = delete;
    CallableTable& operator=(const CallableTable&) = delete;
    ~CallableTable() {
        while (!entries_.empty()) {
            takeOut(entries_.begin());
        }
        for (Entry* const entry : takenOut_) {
            entry->isTableGone = true;
        }
    }

    bool has(int id) const { return entries_.count(id) != 0; }

    /// The entry of a number, to be called within a `Call`; null if there is none.
    Entry* find(int id) {
        const auto found = entries_.find(id);
        return found == entries_.end() ? nullptr : &found->second;
    }

    /// Creates or replaces an entry.
    void put(int id, Function function) {
        Entries fresh;
        fresh[id].function = std::move(function);
        const Node old = takeOut(entries_.find(id)); // goes once the new one is in its place
        entries_.merge(fresh);
    }

    void remove(int id) { takeOut(entries_.find(id)); }

private:
    using Entries = std::map<int, Entry>;
    using Node = typename Entries::node_type;

    /// The node of an entry; none if there is no such entry, or if it runs and so keeps itself.
    Node takeOut(typename Entries::iterator entry) {
        if (entry == entries_.end()) {
            return {};
        }
        if (entry->second.calls == 0) {
            return entries_.extract(entry);
        }
        const auto kept = std::make_shared<Node>();
        takenOut_.push_back(&entry->second);
        *kept = entries_.extract(entry);
        kept->mapped().table = this;
        kept->mapped().self = kept;
        return {};
    }

    Entries entries_;
    std::vector<Entry*> takenOut_; ///< those that still run
};

/// The numbered tunable parameters of a solver or calibrator.
class FactorTable {
public:
    using Getter = std::function<std::any()>;
    using Setter = std::function<void(const std::any&)>;

    FactorTable() = default;
    FactorTable(const FactorTable&) = delete;
    FactorTable& operator=(const FactorTable&) = delete;

    /// Creates or replaces the getter and the setter of a factor; an empty one leaves what is
    /// there.
    void add(int id, Getter getter, Setter setter) {
        if (getter) {
            getters_.put(id, std::move(getter));
        }
        if (setter) {
            setters_.put(id, std::move(setter));
        }
    }

    bool isQueriable(int id) const { return getters_.has(id); }
    bool isSettable(int id) const { return setters_.has(id); }

    /// What the factor's getter returns; an empty value without one.
    std::any query(int id) {
        auto* const getter = getters_.find(id);
        if (getter == nullptr) {
            return {};
        }
        const CallableTable<Getter>::Call call(*getter);
        return getter->function();
    }

    /// Calls the factor's setter, if it has one, and then announces the factor if it can be
    /// queried: on every call, since values of unknown type cannot be compared. Returns false if
    /// the setter has destroyed the table, as one may that destroys its solver.
    bool set(int id, const std::any& value) {
        auto* const setter = setters_.find(id);
        if (setter == nullptr) {
            return true;
        }
        const CallableTable<Setter>::Call call(*setter);
        setter->function(value);
        if (setter->isTableGone) {
            return false;
        }
        if (isQueriable(id)) {
            announce(id);
        }
        return true;
    }

    void remove(int id) {
        setters_.remove(id);
        getters_.remove(id);
    }

    tsignal::Signal<int>& onChanged() { return onChanged_; }

private:
    // On its own, for the same reason: many factors are never announced.
    [[gnu::noinline]] void announce(int id) { onChanged_.emit(id); }

    tsignal::Signal<int> onChanged_;
    CallableTable<Getter> getters_;
    CallableTable<Setter> setters_;
};

} // namespace tarn
