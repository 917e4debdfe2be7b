// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// What look-ups cost: bones by name, objects by type, and factors, ports and user objects beside
// the maps that they are kept in.
#include "Ratios.h"
#include "lookups/LiteralMaps.h"
#include "signals/Allocations.h"

#include <fmt/format.h>
#include <tarn/Bone.h>
#include <tarn/BoneID.h>
#include <tarn/Calibrator.h>
#include <tarn/Character.h>
#include <tarn/Device.h>
#include <tarn/Skeleton.h>
#include <tarn/Solver.h>
#include <tarn/StreamNode.h>

#include <any>
#include <array>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace {

using tarn_benchmark::Fact;
using tarn_benchmark::Goal;
using tarn_benchmark::LiteralMaps;
using tarn_benchmark::Measure;
using tarn_benchmark::repeated;

constexpr double costOfTheMap = 1.1;

/// How often `work` asks for memory.
template <class Work>
double allocationsOf(const Work& work) {
    const std::size_t before = tarn_benchmark::allocations().count;
    work();
    return static_cast<double>(tarn_benchmark::allocations().count - before);
}

// Bones.

std::string nameOf(int id) { return tarn::boneIDToBoneName(static_cast<tarn::EBoneID>(id)); }

/// The one of the 167 names that takes longest to find.
std::string slowestName() {
    std::string slowest;
    double longest = 0;
    for (int id = 0; id < tarn::boneIDCount; ++id) {
        const std::string name = nameOf(id);
        const auto find = repeated([&] { benchmark::DoNotOptimize(tarn::boneNameToBoneID(name)); });
        find(1000);
        const double elapsed = find(10000);
        if (elapsed > longest) {
            longest = elapsed;
            slowest = name;
        }
    }
    return slowest;
}

Measure nameMeasure(const std::string& what, const std::string& name) {
    return {"boneNameToBoneID, " + what,
            repeated([name] { benchmark::DoNotOptimize(tarn::boneNameToBoneID(name)); }),
            50.0,
            std::nullopt,
            std::nullopt,
            {}};
}

/// All names, one after the other.
Measure allNamesMeasure() {
    std::vector<std::string> names;
    names.reserve(tarn::boneIDCount);
    for (int id = 0; id < tarn::boneIDCount; ++id) {
        names.push_back(nameOf(id));
    }
    return {"boneNameToBoneID, each name in turn",
            repeated([names, next = std::size_t(0)]() mutable {
                benchmark::DoNotOptimize(tarn::boneNameToBoneID(names[next]));
                next = next + 1 == names.size() ? 0 : next + 1;
            }),
            50.0,
            std::nullopt,
            std::nullopt,
            {}};
}

/// A skeleton of all bones, three below each.
struct Body {
    Body() {
        for (int id = 0; id < tarn::boneIDCount; ++id) {
            bones.push_back(std::make_unique<tarn::Bone>(nameOf(id)));
            if (id > 0) {
                bones[static_cast<std::size_t>((id - 1) / 3)]->addChildBone(bones.back().get());
            }
        }
        skeleton.setBone(bones.front().get());
    }
    tarn::Skeleton skeleton{"all bones"};
    std::vector<std::unique_ptr<tarn::Bone>> bones;
    std::string missing = "RightInFootExtraFinge_";
};

void appendLiteral(std::list<tarn::Bone*>& found, tarn::Bone* bone) {
    found.push_back(bone);
    for (tarn::Object* const child : bone->children()) {
        if (auto* const childBone = dynamic_cast<tarn::Bone*>(child)) {
            appendLiteral(found, childBone);
        }
    }
}

std::list<tarn::Bone*> literalBones(const tarn::Skeleton& skeleton) {
    std::list<tarn::Bone*> found;
    appendLiteral(found, skeleton.rootBone());
    return found;
}

void addBones(std::vector<Measure>& measures, std::vector<Fact>& facts) {
    const auto body = std::make_shared<Body>();
    measures.push_back(allNamesMeasure());
    measures.push_back(nameMeasure("the slowest name", slowestName()));
    measures.push_back(nameMeasure("a miss", body->missing));
    measures.push_back(nameMeasure("a miss of 1,000 characters", std::string(1000, 'R')));
    measures.push_back({"findBoneByName, a miss over 167 bones",
                        repeated([body] {
                            benchmark::DoNotOptimize(body->skeleton.findBoneByName(body->missing));
                        }),
                        2000.0,
                        std::nullopt,
                        std::nullopt,
                        {}});
    measures.push_back({"bones(), 167 bones",
                        repeated([body] { benchmark::DoNotOptimize(body->skeleton.bones()); }),
                        std::nullopt,
                        Goal{costOfTheMap, {{"walk down the links", repeated([body] {
                                                 benchmark::DoNotOptimize(
                                                     literalBones(body->skeleton));
                                             })}}},
                        std::nullopt,
                        {}});
    // The bones still to be visited are kept in one array, which grows a few times.
    const double growth = 8;
    facts.push_back({"findBoneByName, a miss", "allocations",
                     allocationsOf([&] { body->skeleton.findBoneByName(body->missing); }), growth});
    facts.push_back({"bones(), 167 bones", "allocations",
                     allocationsOf([&] { body->skeleton.bones(); }), tarn::boneIDCount + growth});
}

// Objects by type.

/// A character whose solver comes behind all else.
struct Cast {
    Cast() {
        for (tarn::Calibrator& calibrator : calibrators) {
            character.addCalibrator(&calibrator, false);
        }
        character.addDevice(&device);
        character.setSolver(&solver);
    }
    std::array<tarn::Calibrator, 20> calibrators;
    tarn::Device device{"glove", "1"};
    tarn::Solver solver{"none", ""};
    tarn::Character character{"1", "Ada"};
    const std::string type = "glove";
};

template <class T>
T* firstLiteral(const tarn::Object& object) {
    for (tarn::Object* const child : object.children()) {
        if (T* const typed = dynamic_cast<T*>(child)) {
            return typed;
        }
    }
    return nullptr;
}

void addTypes(std::vector<Measure>& measures, std::vector<Fact>& facts) {
    const auto cast = std::make_shared<Cast>();
    measures.push_back({"Character::solver, behind 21 others",
                        repeated([cast] { benchmark::DoNotOptimize(cast->character.solver()); }),
                        std::nullopt,
                        std::nullopt,
                        std::nullopt,
                        {{"loop that casts", repeated([cast] {
                              benchmark::DoNotOptimize(firstLiteral<tarn::Solver>(cast->character));
                          })}}});
    facts.push_back(
        {"Character::solver", "allocations", allocationsOf([&] { cast->character.solver(); }), 0});
    facts.push_back({"Character::findDevice", "allocations",
                     allocationsOf([&] { cast->character.findDevice(cast->type); }), 0});
}

// Factors, ports and user objects: 20 of each, the 12th is used.

constexpr int count = 20;
constexpr int used = 12;

class OpenSolver : public tarn::Solver {
public:
    using Solver::addFactor;
};

struct Pair {
    Pair() {
        for (int id = 0; id < count; ++id) {
            const LiteralMaps::Getter getter = [this] { return std::any(number); };
            const LiteralMaps::Setter setter = [this](const std::any& given) {
                number = std::any_cast<int>(given);
            };
            solver.addFactor(id, getter, setter);
            silent.addFactor(id, {}, setter);
            node.oFramePort(id);
            maps.addFactor(id, getter, setter);
            silentMaps.addFactor(id, {}, setter);
            maps.port(id);
            solver.mountUserObject(fmt::format("host key {}", id), payload);
            maps.mount(fmt::format("host key {}", id), payload);
        }
    }
    int number = 1;
    const std::any value = 3;
    const std::any payload = std::string(40, 'x');
    const std::string key = fmt::format("host key {}", used);
    const std::string fresh = "host key";
    OpenSolver solver;
    OpenSolver silent; ///< without getters, so that it announces nothing
    tarn::StreamNode node;
    LiteralMaps maps;
    LiteralMaps silentMaps;
};

template <class Ours, class Theirs>
Measure against(const std::string& name, const std::shared_ptr<Pair>& pair, Ours ours,
                Theirs theirs) {
    return {
        name,         repeated([pair, ours] { ours(*pair); }),
        std::nullopt, Goal{costOfTheMap, {{"map", repeated([pair, theirs] { theirs(*pair); })}}},
        std::nullopt, {}};
}

void addFactors(std::vector<Measure>& measures, const std::shared_ptr<Pair>& pair) {
    measures.push_back(against(
        "queryFactor", pair, [](Pair& p) { benchmark::DoNotOptimize(p.solver.queryFactor(used)); },
        [](Pair& p) { benchmark::DoNotOptimize(p.maps.query(used)); }));
    measures.push_back(against(
        "setFactor, of one that cannot be queried", pair,
        [](Pair& p) { p.silent.setFactor(used, p.value); },
        [](Pair& p) { benchmark::DoNotOptimize(p.silentMaps.set(used, p.value)); }));
    measures.push_back(against(
        "isFactorSettable", pair,
        [](Pair& p) { benchmark::DoNotOptimize(p.solver.isFactorSettable(used)); },
        [](Pair& p) { benchmark::DoNotOptimize(p.maps.isSettable(used)); }));
}

void addPorts(std::vector<Measure>& measures, const std::shared_ptr<Pair>& pair) {
    measures.push_back(against(
        "oFramePort", pair, [](Pair& p) { benchmark::DoNotOptimize(&p.node.oFramePort(used)); },
        [](Pair& p) { benchmark::DoNotOptimize(&p.maps.port(used)); }));
    measures.push_back(against(
        "hasOFramePort", pair,
        [](Pair& p) { benchmark::DoNotOptimize(p.node.hasOFramePort(used)); },
        [](Pair& p) { benchmark::DoNotOptimize(p.maps.hasPort(used)); }));
}

void addUserObjects(std::vector<Measure>& measures, const std::shared_ptr<Pair>& pair) {
    measures.push_back(against(
        "hasUserObject", pair,
        [](Pair& p) { benchmark::DoNotOptimize(p.solver.hasUserObject(p.key)); },
        [](Pair& p) { benchmark::DoNotOptimize(p.maps.has(p.key)); }));
    measures.push_back(against(
        "mountUserObject and takeUserObject", pair,
        [](Pair& p) {
            p.solver.mountUserObject(p.fresh, p.payload);
            benchmark::DoNotOptimize(p.solver.takeUserObject(p.fresh));
        },
        [](Pair& p) {
            p.maps.mount(p.fresh, p.payload);
            benchmark::DoNotOptimize(p.maps.take(p.fresh));
        }));
}

} // namespace

int main(int argc, char** argv) {
    std::vector<Measure> measures;
    std::vector<Fact> facts;
    addBones(measures, facts);
    addTypes(measures, facts);
    const auto pair = std::make_shared<Pair>();
    addFactors(measures, pair);
    addPorts(measures, pair);
    addUserObjects(measures, pair);
    return tarn_benchmark::compare(argc, argv, measures, facts);
}
