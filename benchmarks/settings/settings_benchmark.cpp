// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// What a settings store costs beside the calls of the tree library that it makes, and its loads and
// saves beside the library's parser and writer. The disk is left out.
#include "Ratios.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <fmt/format.h>
#include <tarn/Settings.h>

#include <list>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace xml = boost::property_tree::xml_parser;
using Tree = boost::property_tree::ptree;
using tarn_benchmark::Goal;
using tarn_benchmark::Measure;
using tarn_benchmark::repeated;

constexpr double mostForACall = 1.1;
constexpr double mostForADocument = 1.25;

/// The measurements of a body, and which sensor is where: the settings of a performer.
std::string performer(int sensors) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Actor>\n\t<Name>Ada</Name>\n"
                       "\t<Dimensions>\n\t\t<Height>1.742000</Height>\n"
                       "\t\t<ArmSpan>1.768000</ArmSpan>\n\t</Dimensions>\n\t<Sensors>\n";
    for (int i = 0; i < sensors; ++i) {
        text += fmt::format("\t\t<Sensor{}>\n\t\t\t<Bone>RightHandThumb{}</Bone>\n"
                            "\t\t\t<Offset>{:.6f}</Offset>\n\t\t</Sensor{}>\n",
                            i, i % 4, 0.001 * i, i);
    }
    return text + "\t</Sensors>\n</Actor>\n";
}

/// A take's notes: few elements, long texts.
std::string notes() {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
    for (int i = 0; i < 50; ++i) {
        text += "<Note>";
        for (int word = 0; word < 200; ++word) {
            text += fmt::format("word{} &amp; more; ", word);
        }
        text += "</Note>\n";
    }
    return text;
}

/// Markers of a take: everything in attributes.
std::string markers() {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Markers>\n";
    for (int i = 0; i < 1000; ++i) {
        text += fmt::format("\t<Marker id=\"{}\" frame=\"{}\" label=\"step {}\"/>\n", i, 12 * i, i);
    }
    return text + "</Markers>\n";
}

Tree treeOf(const std::string& document) {
    Tree tree;
    std::istringstream stream(document);
    xml::read_xml(stream, tree, xml::trim_whitespace);
    return tree;
}

/// A store and the tree it stands for.
struct Pair {
    explicit Pair(const std::string& document) : tree(treeOf(document)) {
        settings->loadSettingsFromString(document);
    }
    std::shared_ptr<tarn::Settings> settings = std::make_shared<tarn::Settings>();
    Tree tree;
};

const std::string path = "Actor.Sensors.Sensor11.Bone";
const std::string missing = "Actor.Missing";
const std::string top = "Rate";
const std::string tag = "Tag";
const std::string none;
const std::string group = "a.g";
const std::string value = "RightHandThumb1";
const std::string longValue(200, 'x');

using Shared = std::shared_ptr<Pair>;

/// One operation, by the store and by the tree.
template <class Ours, class Theirs>
Measure call(const std::string& name, const Shared& pair, Ours ours, Theirs theirs) {
    return {name,
            repeated([pair, ours] { ours(*pair->settings); }),
            std::nullopt,
            Goal{mostForACall, {{"tree call", repeated([pair, theirs] { theirs(pair->tree); })}}},
            std::nullopt,
            {}};
}

void addWrites(std::vector<Measure>& measures, const Shared& pair) {
    for (const std::string* const text : {&value, &longValue}) {
        measures.push_back(call(
            fmt::format("setValue, {} characters", text->size()), pair,
            [text](tarn::Settings& settings) { settings.setValue(path, *text); },
            [text](Tree& tree) { tree.put(path, *text); }));
        measures.push_back(call(
            fmt::format("addValue and remove, {} characters", text->size()), pair,
            [text](tarn::Settings& settings) {
                settings.addValue(tag, *text);
                settings.remove(tag);
            },
            [text](Tree& tree) {
                tree.add(tag, *text);
                tree.erase(tag);
            }));
    }
    measures.push_back(call(
        "setValue, a value of its own", pair,
        [](tarn::Settings& settings) { settings.setValue(top, value); },
        [](Tree& tree) { tree.put(top, value); }));
}

void addReads(std::vector<Measure>& measures, const Shared& pair) {
    measures.push_back(call(
        "value", pair,
        [](tarn::Settings& settings) { benchmark::DoNotOptimize(settings.value(path, none)); },
        [](Tree& tree) { benchmark::DoNotOptimize(tree.get_optional<std::string>(path)); }));
    measures.push_back(call(
        "value, of a missing key", pair,
        [](tarn::Settings& settings) { benchmark::DoNotOptimize(settings.value(missing, none)); },
        [](Tree& tree) { benchmark::DoNotOptimize(tree.get_optional<std::string>(missing)); }));
    measures.push_back(call(
        "subSettings of a missing key", pair,
        [](tarn::Settings& settings) { benchmark::DoNotOptimize(settings.subSettings(missing)); },
        [](Tree& tree) { benchmark::DoNotOptimize(tree.get_child_optional(missing)); }));
    measures.push_back(call(
        "subSettings", pair,
        [](tarn::Settings& settings) { benchmark::DoNotOptimize(settings.subSettings(path)); },
        [](Tree& tree) { benchmark::DoNotOptimize(tree.get_child_optional(path)); }));
}

/// Over the direct children of a node that has 100 of them.
void addLists(std::vector<Measure>& measures) {
    std::string document;
    for (int i = 0; i < 100; ++i) {
        document += fmt::format("<{0}>{1}</{0}>", i % 2 == 0 ? "Tag" : "Other", i);
    }
    const auto pair = std::make_shared<Pair>(document);
    measures.push_back(call(
        "valueList, 50 of 100", pair,
        [](tarn::Settings& settings) { benchmark::DoNotOptimize(settings.valueList(tag)); },
        [](Tree& tree) {
            std::list<std::string> found;
            for (const auto& child : tree) {
                if (child.first == tag) {
                    found.push_back(child.second.data());
                }
            }
            benchmark::DoNotOptimize(found);
        }));
    measures.push_back(call(
        "values, of 100", pair,
        [](tarn::Settings& settings) { benchmark::DoNotOptimize(settings.values()); },
        [](Tree& tree) {
            std::map<std::string, std::string> found;
            for (const auto& child : tree) {
                found[child.first] = child.second.data();
            }
            benchmark::DoNotOptimize(found);
        }));
}

void addGroups(std::vector<Measure>& measures) {
    const auto pair = std::make_shared<Pair>("");
    const auto small = std::make_shared<Pair>(performer(0));
    const auto large = std::make_shared<Pair>(performer(20));
    for (const auto& added : {small, large}) {
        measures.push_back(call(
            fmt::format("addSubSettings, {}", added == small ? "a small store" : "a large store"),
            pair,
            [added](tarn::Settings& settings) { settings.addSubSettings(group, added->settings); },
            [added](Tree& tree) { tree.put_child(group, added->tree); }));
    }
    const auto emptied = std::make_shared<Pair>("");
    measures.push_back(call(
        "setValue and clear", emptied,
        [](tarn::Settings& settings) {
            settings.setValue(top, value);
            settings.clear();
        },
        [](Tree& tree) {
            tree.put(top, value);
            tree.clear();
        }));
}

Measure loadMeasure(const std::string& name, const std::string& document) {
    const auto settings = std::make_shared<tarn::Settings>();
    const auto tree = std::make_shared<Tree>();
    return {fmt::format("load, {}", name),
            repeated([=] { benchmark::DoNotOptimize(settings->loadSettingsFromString(document)); }),
            std::nullopt,
            Goal{mostForADocument, {{"parser", repeated([=] {
                                         std::istringstream stream(document);
                                         xml::read_xml(stream, *tree, xml::trim_whitespace);
                                     })}}},
            std::nullopt,
            {}};
}

Measure saveMeasure(const std::string& name, const std::string& document) {
    const auto pair = std::make_shared<Pair>(document);
    const auto text = std::make_shared<std::string>();
    return {
        fmt::format("save, {}", name),
        repeated([=] { benchmark::DoNotOptimize(pair->settings->saveSettingsToString(*text)); }),
        std::nullopt,
        Goal{mostForADocument,
             {{"writer", repeated([=] {
                   std::ostringstream stream;
                   xml::write_xml(stream, pair->tree,
                                  xml::xml_writer_make_settings<std::string>('\t', 1, "utf-8"));
                   *text = stream.str();
               })}}},
        std::nullopt,
        {}};
}

} // namespace

int main(int argc, char** argv) {
    std::vector<Measure> measures;
    const auto pair = std::make_shared<Pair>(performer(20));
    addWrites(measures, pair);
    addReads(measures, pair);
    addLists(measures);
    addGroups(measures);
    const std::map<std::string, std::string> documents = {{"a performer", performer(60)},
                                                          {"long texts", notes()},
                                                          {"attributes", markers()},
                                                          {"a small file", performer(1)}};
    for (const auto& [name, document] : documents) {
        measures.push_back(loadMeasure(name, document));
        measures.push_back(saveMeasure(name, document));
    }
    return tarn_benchmark::compare(argc, argv, measures, {});
}
