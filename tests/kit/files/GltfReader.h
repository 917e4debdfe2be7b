// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

/// Reads glTF files as other programs do, by what the format's text says and with nothing of the
/// kit: a judge of what the writer wrote.
namespace gltf_testing {

using Json = nlohmann::json;
using Matrix = std::array<double, 16>; ///< column by column

inline Matrix product(const Matrix& a, const Matrix& b) {
    Matrix c{};
    for (std::size_t column = 0; column < 4; ++column) {
        for (std::size_t row = 0; row < 4; ++row) {
            for (std::size_t i = 0; i < 4; ++i) {
                c[4 * column + row] += a[4 * i + row] * b[4 * column + i];
            }
        }
    }
    return c;
}

inline Matrix matrixOf(const std::vector<double>& t, const std::vector<double>& q) {
    const double x = q[0];
    const double y = q[1];
    const double z = q[2];
    const double w = q[3];
    return {1 - 2 * (y * y + z * z),
            2 * (x * y + z * w),
            2 * (x * z - y * w),
            0,
            2 * (x * y - z * w),
            1 - 2 * (x * x + z * z),
            2 * (y * z + x * w),
            0,
            2 * (x * z + y * w),
            2 * (y * z - x * w),
            1 - 2 * (x * x + y * y),
            0,
            t[0],
            t[1],
            t[2],
            1};
}

class GltfFile {
public:
    Json json;
    std::string bytes;

    explicit GltfFile(const std::string& content) {
        if (content.compare(0, 4, "glTF") == 0) {
            const std::size_t jsonSize = wordAt(content, 12);
            if (wordAt(content, 8) != content.size() || content.compare(16, 4, "JSON") != 0) {
                throw std::runtime_error("no glTF file");
            }
            json = Json::parse(content.substr(20, jsonSize));
            bytes = content.size() > 20 + jsonSize ? content.substr(28 + jsonSize) : "";
        } else {
            json = Json::parse(content);
            const std::string uri = json["buffers"][0]["uri"];
            bytes = decoded(uri.substr(uri.find(',') + 1));
        }
    }

    /// The numbers of an accessor, a row per element.
    std::vector<std::vector<double>> rows(int accessor) const {
        const Json& about = json["accessors"][static_cast<std::size_t>(accessor)];
        const Json& view = json["bufferViews"][about["bufferView"].get<std::size_t>()];
        static const std::map<std::string, std::size_t> sizes = {
            {"SCALAR", 1}, {"VEC3", 3}, {"VEC4", 4}, {"MAT4", 16}};
        const std::size_t size = sizes.at(about["type"]);
        const bool isShort = about["componentType"] == 5123;
        std::size_t at = view["byteOffset"];
        std::vector<std::vector<double>> rows(about["count"].get<std::size_t>());
        for (auto& row : rows) {
            for (std::size_t i = 0; i < size; ++i) {
                if (isShort) {
                    std::uint16_t number = 0;
                    std::memcpy(&number, bytes.data() + at, sizeof number);
                    row.push_back(number);
                    at += sizeof number;
                } else {
                    float number = 0;
                    std::memcpy(&number, bytes.data() + at, sizeof number);
                    row.push_back(static_cast<double>(number));
                    at += sizeof number;
                }
            }
        }
        return rows;
    }

    struct Curve {
        std::vector<double> times;
        std::vector<std::vector<double>> values;
    };

    /// The curve of "translation" or "rotation" of a node; empty where it has none.
    Curve curve(std::size_t node, const std::string& path) const {
        if (!json.contains("animations")) {
            return {};
        }
        const Json& animation = json["animations"][0];
        for (const Json& channel : animation["channels"]) {
            if (channel["target"]["node"] == node && channel["target"]["path"] == path) {
                const Json& sampler = animation["samplers"][channel["sampler"].get<std::size_t>()];
                Curve found;
                for (const auto& row : rows(sampler["input"])) {
                    found.times.push_back(row[0]);
                }
                found.values = rows(sampler["output"]);
                return found;
            }
        }
        return {};
    }

    std::size_t nodeNamed(const std::string& name) const {
        for (std::size_t i = 0; i < json["nodes"].size(); ++i) {
            if (json["nodes"][i]["name"] == name) {
                return i;
            }
        }
        throw std::runtime_error("no node is called " + name);
    }

    /// Where all nodes are in the world at a time in seconds.
    std::vector<std::array<double, 3>> positionsAt(double time) const {
        fillCurves();
        const std::size_t count = json["nodes"].size();
        std::vector<std::array<double, 3>> positions(count);
        std::vector<Matrix> worlds(count);
        std::vector<std::size_t> waiting;
        const Matrix none = matrixOf({0, 0, 0}, {0, 0, 0, 1});
        std::vector<Matrix> parents(count, none);
        for (const Json& root : json["scenes"][0]["nodes"]) {
            waiting.push_back(root);
        }
        while (!waiting.empty()) {
            const std::size_t node = waiting.back();
            waiting.pop_back();
            const Json& about = json["nodes"][node];
            std::vector<double> t = about.value("translation", std::vector<double>{0, 0, 0});
            std::vector<double> q = about.value("rotation", std::vector<double>{0, 0, 0, 1});
            if (!moves_[node].times.empty()) {
                t = valueAt(moves_[node], time, false);
            }
            if (!turns_[node].times.empty()) {
                q = valueAt(turns_[node], time, true);
            }
            worlds[node] = product(parents[node], matrixOf(t, q));
            positions[node] = {worlds[node][12], worlds[node][13], worlds[node][14]};
            for (const Json& child : about.value("children", Json::array())) {
                parents[child.get<std::size_t>()] = worlds[node];
                waiting.push_back(child);
            }
        }
        return positions;
    }

private:
    static std::size_t wordAt(const std::string& text, std::size_t at) {
        std::uint32_t word = 0;
        std::memcpy(&word, text.data() + at, sizeof word);
        return word;
    }

    static std::string decoded(const std::string& text) {
        static const std::string digits =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        std::string bytes;
        std::uint32_t bits = 0;
        int have = 0;
        for (const char c : text) {
            const std::size_t digit = digits.find(c);
            if (digit == std::string::npos) {
                break;
            }
            bits = bits << 6U | static_cast<std::uint32_t>(digit);
            have += 6;
            if (have >= 8) {
                have -= 8;
                bytes += static_cast<char>(bits >> static_cast<unsigned>(have) & 0xFFU);
            }
        }
        return bytes;
    }

    static std::vector<double> valueAt(const Curve& curve, double time, bool isRotation) {
        const auto after = std::upper_bound(curve.times.begin(), curve.times.end(), time);
        const auto next = static_cast<std::size_t>(after - curve.times.begin());
        if (next == 0 || next == curve.times.size()) {
            return curve.values[next == 0 ? 0 : next - 1];
        }
        const auto& a = curve.values[next - 1];
        auto b = curve.values[next];
        const double share =
            (time - curve.times[next - 1]) / (curve.times[next] - curve.times[next - 1]);
        double first = 1 - share;
        double second = share;
        if (isRotation) {
            double cosine = a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
            const double sign = cosine < 0 ? -1 : 1;
            cosine = std::min(1.0, sign * cosine);
            const double angle = std::acos(cosine);
            if (angle > 1e-6) {
                first = std::sin(first * angle) / std::sin(angle);
                second = std::sin(second * angle) / std::sin(angle);
            }
            second *= sign;
        }
        for (std::size_t i = 0; i < b.size(); ++i) {
            b[i] = first * a[i] + second * b[i];
        }
        return b;
    }

    void fillCurves() const {
        if (!moves_.empty()) {
            return;
        }
        moves_.resize(json["nodes"].size());
        turns_.resize(json["nodes"].size());
        for (std::size_t i = 0; i < moves_.size(); ++i) {
            moves_[i] = curve(i, "translation");
            turns_[i] = curve(i, "rotation");
        }
    }

    mutable std::vector<Curve> moves_;
    mutable std::vector<Curve> turns_;
};

} // namespace gltf_testing
