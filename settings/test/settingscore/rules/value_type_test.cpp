#include <string>
#include <vector>

#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/rules/ValueType.hpp>
#include <settingscore/value/AnyBridge.hpp>

#include "RulesWorld.hpp"

using namespace settings::core;
using namespace qbtest;
using boost::any;
using exception::DataArraySizeOutOfRange;
using TypeMismatch = qf::except::Exception<ZENBAR::settings::core::DataTypeNotMatch>;

namespace {

using Ints = std::vector<int>;
using Bits = std::vector<bool>;
using Doubles = std::vector<double>;

std::vector<std::string> argumentsOf(TypeMismatch const& error) {
    std::vector<std::string> texts;
    for (auto const& argument : error.get_msg_id().arguments()) {
        texts.push_back(boost::get<std::string>(argument));
    }
    return texts;
}

TEST(ValueType, OneElementChangesShapeAndNothingElseChanges) {
    struct Case {
        void (*check)(any&);
        any value;
        any expected;        // empty: refused
        char const* wanted;  // names in the refusal
        char const* given;
    };
    for (Case const& c : std::vector<Case>{
             {&validateValueType<int>, 3, 3, "", ""},
             {&validateValueType<int>, Ints{3}, 3, "", ""},
             {&validateValueType<Ints>, 3, Ints{3}, "", ""},
             {&validateValueType<Ints>, Ints{1, 2}, Ints{1, 2}, "", ""},
             {&validateValueType<Bits>, true, Bits{true}, "", ""},
             {&validateValueType<ustring>, std::vector<ustring>{u"a"}, ustring(u"a"), "", ""},
             {&validateValueType<void>, 3, 3, "", ""},
             {&validateValueType<any>, 3, 3, "", ""},
             {&validateValueType<int>, 3.0, {}, "int32", "double"},
             {&validateValueType<int>, ustring(u"3"), {}, "int32", "string"},
             {&validateValueType<int>, any(), {}, "int32", "void"},
             {&validateValueType<int>, Ints{}, {}, "int32", "array of int32"},
             {&validateValueType<int>, Ints{1, 2}, {}, "int32", "array of int32"},
             {&validateValueType<bool>, Bits{true}, {}, "bool", "array of bool"},
             {&validateValueType<signed char>, (unsigned char)(1), {}, "int8", "uint8"},
             {&validateValueType<Doubles>, 1, {}, "array of unsupported", "int32"},
             {&validateValueType<Doubles>, Ints{}, {}, "array of unsupported", "array of int32"},
         }) {
        SCOPED_TRACE(std::string(c.wanted) + " from " + c.value.type().name());
        any value = c.value;
        try {
            c.check(value);
            EXPECT_TRUE(settingscore::boostany::isEqual(value, c.expected));
        } catch (TypeMismatch const& error) {
            EXPECT_EQ(argumentsOf(error), (std::vector<std::string>{c.wanted, c.given}));
            EXPECT_EQ(error.get_error_id(error.get_msg_id()),
                      "ZENBAR:settings:core:DataTypeNotMatch");
            EXPECT_TRUE(settingscore::boostany::isEqual(value, c.value));
        }
    }
    any unsupported = 3L;
    EXPECT_THROW(validateValueType<int>(unsupported), settingscore::boostany::UnsupportedAnyType);
}

TEST(ValueType, TheFirstValueSetsTheRulesOfAKeyWithoutDefinition) {
    Node const group = makeGroup("g");
    makeKey("scalar", group);
    group->setAny("scalar", 5, "user");
    EXPECT_EQ(*group->getDataTypeIndex("scalar"), 7ul);
    group->setAny("scalar", Ints{6}, "user");
    EXPECT_EQ(boost::any_cast<int>(group->getAny("scalar", "user")), 6);
    expectThrow<TypeMismatch>(
        [&] { group->setAny("scalar", 5.0, "user"); },
        [](TypeMismatch const& error) {
            EXPECT_EQ(argumentsOf(error), (std::vector<std::string>{"int32", "double"}));
        });
    EXPECT_EQ(boost::any_cast<int>(group->getAny("scalar", "user")), 6);

    Node const array = makeKey("array", group);
    group->setAny("array", Doubles{1, 2, 3}, "user");
    EXPECT_EQ(*group->getDataTypeIndex("array"), 24ul);
    expectThrow<DataArraySizeOutOfRange>(
        [&] {
            group->setAny("array", Doubles{1, 2, 3, 4}, "user");
        },
        [&](DataArraySizeOutOfRange const& error) {
            EXPECT_EQ(error.getMinArraySize(), 0u);
            EXPECT_EQ(error.getMaxArraySize(), 3u);
            EXPECT_EQ(error.getActualArraySize(), 4u);
            EXPECT_EQ(error.getErrorCode(), 0);
            EXPECT_EQ(error.getCausingObject(), array);
        });
    group->setAny("array", Doubles{}, "user");
    group->setAny("array", 7.5, "user");
    EXPECT_EQ(boost::any_cast<Doubles>(group->getAny("array", "user")), Doubles{7.5});

    // A refused first value counts all the same, and an empty one leaves every type open.
    makeKey("refused", group)->setMetaData(SettingsKeyMetaData<any>(10, {}, {}));
    EXPECT_THROW(group->setAny("refused", 1, "user"), exception::ValueIsNotInRange);
    EXPECT_THROW(group->setAny("refused", ustring(u"x"), "user"), TypeMismatch);
    makeKey("open", group);
    EXPECT_THROW(group->setAny("open", any(), "user"),
                 exception::DefaultValidationFailedOnVoidType);
    EXPECT_EQ(*group->getDataTypeIndex("open"), 0ul);
    group->setAny("open", Ints{1, 2}, "user");
    group->setAny("open", ustring(u"x"), "user");
}

TEST(ValueType, AnUnsupportedTypeIsToldByItsName) {
    Node const group = makeGroup("g");
    Node const key = makeKey("k", group);
    expectThrow<exception::UnsupportedType>([&] { group->setAny("k", 1L, "user"); },
                                            [&](exception::UnsupportedType const& error) {
                                                EXPECT_EQ(error.getTypeName(), "long");
                                                EXPECT_EQ(error.getErrorCode(), 1);
                                                EXPECT_EQ(error.getCausingObject(), key);
                                            });
    EXPECT_FALSE(group->getDataTypeIndex("k"));
}

TEST(ValueType, AKeyOfAnyTypeKeepsItsSizeRule) {
    Node const group = makeGroup("g");
    Node const key = makeKey("k", group);
    key->setDataTypeIndex(SettingsImpl::anyTypeIndex);
    key->setValueArraySizeValidator(ValueArraySizeValidator(key, 2, 1));
    group->setAny("k", 1, "user");
    group->setAny("k", std::vector<ustring>{u"a", u"b"}, "user");
    EXPECT_EQ(group->getAny("k", "user").type(), typeid(std::vector<ustring>));
    EXPECT_THROW(group->setAny("k", Ints{1, 2, 3}, "user"), DataArraySizeOutOfRange);
    EXPECT_THROW(group->setAny("k", Ints{}, "user"), DataArraySizeOutOfRange);
}

TEST(ValueArraySize, BoundsHoldForEveryShape) {
    struct Case {
        unsigned long maximum;
        unsigned long minimum;
        any value;
        bool passes;
        unsigned long size;
    };
    for (Case const& c : std::vector<Case>{{1, 1, 5, true, 1},
                                           {1, 1, any(), false, 0},
                                           {0, 0, any(), true, 0},
                                           {0, 2, Ints{1}, false, 1},
                                           {0, 2, Ints(1000), true, 1000},
                                           {3, 2, Bits{true, true, true, true}, false, 4},
                                           {3, 2, 5, false, 1},
                                           {3, 0, Ints{}, true, 0}}) {
        SCOPED_TRACE(c.size);
        ValueArraySizeValidator const sizes(c.maximum, c.minimum);
        if (c.passes) {
            EXPECT_NO_THROW(sizes(c.value));
            continue;
        }
        expectThrow<DataArraySizeOutOfRange>([&] { sizes(c.value); },
                                             [&](DataArraySizeOutOfRange const& error) {
                                                 EXPECT_EQ(error.getMinArraySize(), c.minimum);
                                                 EXPECT_EQ(error.getMaxArraySize(), c.maximum);
                                                 EXPECT_EQ(error.getActualArraySize(), c.size);
                                                 EXPECT_FALSE(error.getCausingObject());
                                             });
    }
    EXPECT_NO_THROW(ValueArraySizeValidator()(1));
    EXPECT_THROW(ValueArraySizeValidator()(Ints{1, 2}), DataArraySizeOutOfRange);
}

TEST(ValueArraySize, EqualityNeedsLivingKeys) {
    Node const a = makeKey("a");
    Node b = makeKey("b");
    ValueArraySizeValidator const ofA(a, 3, 1);
    ValueArraySizeValidator const ofB(b, 3, 1);
    EXPECT_TRUE(ofA == ofB);
    EXPECT_FALSE(ofA == ValueArraySizeValidator(b, 3, 2));
    EXPECT_FALSE(ofA == ValueArraySizeValidator(b, 4, 1));
    EXPECT_FALSE(ValueArraySizeValidator(3, 1) == ValueArraySizeValidator(3, 1));
    b.reset();
    EXPECT_FALSE(ofA == ofB);
    expectThrow<DataArraySizeOutOfRange>(
        [&] { ofB(Ints{}); },
        [](DataArraySizeOutOfRange const& error) { EXPECT_FALSE(error.getCausingObject()); });
}

}  // namespace
