// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Frame.h>
#include <tsignal/Signal.h>

#include <any>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace tarn_benchmark {

/// Factors, ports and user objects as bare maps, behind the border of a shared library as those of
/// the SDK are: the call over it costs what it costs, whatever is called.
class LiteralMaps {
public:
    using Getter = std::function<std::any()>;
    using Setter = std::function<void(const std::any&)>;
    using Port = tsignal::Signal<std::shared_ptr<tarn::Frame>>;

    LiteralMaps();
    ~LiteralMaps();
    LiteralMaps(const LiteralMaps&) = delete;
    LiteralMaps& operator=(const LiteralMaps&) = delete;

    void addFactor(int id, const Getter& getter, const Setter& setter);
    std::any query(int id) const;
    /// Whether it is to be announced.
    bool set(int id, const std::any& value);
    bool isSettable(int id) const;

    Port& port(int id) const;
    bool hasPort(int id) const;

    bool mount(const std::string& key, const std::any& value);
    std::any take(const std::string& key);
    bool has(const std::string& key);

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn_benchmark
