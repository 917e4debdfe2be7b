// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "core/TypedLinks.h"

#include <tarn/Object.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using tarn::Object;
using tarn::typedChildren;
using tarn::typedChildrenWhere;
using tarn::typedChildWhere;
using tarn::typedParent;
using testing::ElementsAre;
using testing::IsEmpty;

class Sensor : public Object {
public:
    using Object::Object;
};

class Glove : public Sensor {
public:
    using Sensor::Sensor;
};

class Camera : public Object {
public:
    using Object::Object;
};

/// A class of which an object is one part among others.
class Mixin {
public:
    virtual ~Mixin() = default;
    int value = 1;
};

class Hybrid : public Mixin, public Object {};

TEST(TypedLinks, AParentIsFoundByItsType) {
    Object object;
    Camera camera;
    Sensor first;
    Sensor second;
    EXPECT_EQ(typedParent<Sensor>(object), nullptr);

    object.addParent(&camera);
    EXPECT_EQ(typedParent<Sensor>(object), nullptr);
    object.addParent(&first);
    object.addParent(&second);
    EXPECT_EQ(typedParent<Sensor>(object), &first);
    EXPECT_EQ(typedParent<Camera>(object), &camera);
    EXPECT_EQ(typedParent<Object>(object), &camera);
}

TEST(TypedLinks, ChildrenAreFoundByTheirTypeInOrderDuplicatesIncluded) {
    Object object;
    Camera camera;
    Sensor first;
    Sensor second;
    EXPECT_THAT(typedChildren<Sensor>(object), IsEmpty());

    for (Object* const child : {static_cast<Object*>(&second), static_cast<Object*>(&camera),
                                static_cast<Object*>(&first), static_cast<Object*>(&second)}) {
        object.addChild(child);
    }
    EXPECT_THAT(typedChildren<Sensor>(object), ElementsAre(&second, &first, &second));
    EXPECT_THAT(typedChildren<Camera>(object), ElementsAre(&camera));
    EXPECT_THAT(typedChildren<Object>(object), ElementsAre(&second, &camera, &first, &second));
}

TEST(TypedLinks, ASubclassIsOfTheTypeAsWell) {
    Object object;
    Sensor sensor;
    Glove glove;
    object.addChild(&glove);
    object.addChild(&sensor);
    object.addParent(&sensor);
    object.addParent(&glove);
    EXPECT_THAT(typedChildren<Sensor>(object), ElementsAre(&glove, &sensor));
    EXPECT_THAT(typedChildren<Glove>(object), ElementsAre(&glove));
    EXPECT_EQ(typedParent<Sensor>(object), &sensor);
    EXPECT_EQ(typedParent<Glove>(object), &glove);
}

TEST(TypedLinks, NullLinksArePassedOver) {
    Object object;
    Sensor sensor;
    object.addChild(nullptr);
    object.addParent(nullptr);
    EXPECT_THAT(typedChildren<Sensor>(object), IsEmpty());
    EXPECT_EQ(typedParent<Sensor>(object), nullptr);

    object.addChild(&sensor);
    object.addChild(nullptr);
    object.addParent(&sensor);
    EXPECT_THAT(typedChildren<Sensor>(object), ElementsAre(&sensor));
    EXPECT_THAT(typedChildren<Object>(object), ElementsAre(&sensor));
    EXPECT_EQ(typedParent<Sensor>(object), &sensor);
}

TEST(TypedLinks, WhatIsAcceptedIsAskedOfTheObjectsOfTheType) {
    Object object;
    Sensor left("left");
    Sensor right("right");
    Camera camera("right");
    for (Object* const linked : {static_cast<Object*>(&camera), static_cast<Object*>(&left),
                                 static_cast<Object*>(&right), static_cast<Object*>(&right)}) {
        object.addChild(linked);
    }
    const auto isRight = [](const Sensor* sensor) { return sensor->objectName() == "right"; };
    EXPECT_EQ(typedChildWhere<Sensor>(object, isRight), &right);
    EXPECT_THAT(typedChildrenWhere<Sensor>(object, isRight), ElementsAre(&right, &right));
}

TEST(TypedLinks, OnlyDirectLinksOfTheRightSideCount) {
    Object object;
    Object between;
    Sensor far;
    Sensor parent;
    object.addChild(&between);
    between.addChild(&far);
    object.addParent(&parent);
    EXPECT_THAT(typedChildren<Sensor>(object), IsEmpty());
    EXPECT_EQ(typedParent<Sensor>(between), nullptr);
}

TEST(TypedLinks, AnObjectThatIsOnePartOfAnotherIsFoundAsTheWhole) {
    Object object;
    Hybrid hybrid;
    object.addChild(&hybrid);
    object.addParent(&hybrid);
    EXPECT_THAT(typedChildren<Hybrid>(object), ElementsAre(&hybrid));
    EXPECT_EQ(typedParent<Hybrid>(object), &hybrid);
}

} // namespace
