#pragma once

#include <tsignal/Signal.h>

#include <any>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace tarn {

/// The numbered tunable parameters of a solver or calibrator. Getters and setters are host code
/// that may register or remove factors, itself included, so each is kept alive for its call.
class FactorTable {
public:
    using Getter = std::function<std::any()>;
    using Setter = std::function<void(const std::any&)>;

    /// Creates or replaces the getter and the setter of a factor; an empty one leaves what is
    /// there.
    void add(int id, Getter getter, Setter setter) {
        if (getter) {
            getters_[id] = std::make_shared<const Getter>(std::move(getter));
        }
        if (setter) {
            setters_[id] = std::make_shared<const Setter>(std::move(setter));
        }
    }

    bool isQueriable(int id) const { return getters_.count(id) != 0; }
    bool isSettable(int id) const { return setters_.count(id) != 0; }

    /// What the factor's getter returns; an empty value without one.
    std::any query(int id) const {
        const auto getter = callable(getters_, id);
        return getter != nullptr ? (*getter)() : std::any();
    }

    /// Calls the factor's setter, if it has one, and then announces the factor if it can be
    /// queried: on every call, since values of unknown type cannot be compared.
    void set(int id, const std::any& value) {
        const auto setter = callable(setters_, id);
        if (setter == nullptr) {
            return;
        }
        (*setter)(value);
        if (isQueriable(id)) {
            onChanged_.emit(id);
        }
    }

    void remove(int id) {
        setters_.erase(id);
        getters_.erase(id);
    }

    tsignal::Signal<int>& onChanged() { return onChanged_; }

private:
    template <class Callable>
    using Callables = std::map<int, std::shared_ptr<const Callable>>;

    template <class Callable>
    static std::shared_ptr<const Callable> callable(const Callables<Callable>& callables, int id) {
        const auto found = callables.find(id);
        return found == callables.end() ? nullptr : found->second;
    }

    tsignal::Signal<int> onChanged_;
    Callables<Getter> getters_;
    Callables<Setter> setters_;
};

} // namespace tarn
