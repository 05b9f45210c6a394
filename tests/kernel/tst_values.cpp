#include "kernel/main/castclassmanager.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/typesolver.h"
#include "kernel/math/matrix.h"
#include "kernel/util/zpointer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace tov::main;

namespace {

template <typename T>
tov::util::ZPointer<CastClass> castOf()
{
    return tov::util::ZPointer<CastClass>(CastClassManager::getInstance()->createCastClassForType(&typeid(T)));
}

template <typename T>
T converted(const char* text)
{
    auto cast = castOf<T>();
    auto* value = static_cast<T*>(cast->fromString(QString::fromUtf8(text)));
    const T result = *value;
    cast->deleteValue(value);
    return result;
}

} // namespace

TEST(CastClasses, TruthValues)
{
    for (const char* yes : {"1", "true", "TRUE", "yes", "On"})
        EXPECT_TRUE(converted<bool>(yes)) << yes;
    for (const char* no : {"0", "false", "No", "off"})
        EXPECT_FALSE(converted<bool>(no)) << no;
    for (const char* wrong : {"", "2", "maybe", "truee"})
        EXPECT_THROW(converted<bool>(wrong), std::invalid_argument) << wrong;
}

TEST(CastClasses, WholeNumbers)
{
    EXPECT_EQ(converted<int>("-2147483648"), std::numeric_limits<int>::min());
    EXPECT_EQ(converted<int>("2147483647"), std::numeric_limits<int>::max());
    for (const char* wrong : {"", "2147483648", "1.5", "1e9", "0x10", "12 a", "nan", "--1"})
        EXPECT_THROW(converted<int>(wrong), std::invalid_argument) << wrong;
}

TEST(CastClasses, MatricesAreSixteenNumbersRowByRow)
{
    const auto matrix = converted<tov::math::Matrix4>("1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16");
    EXPECT_EQ(matrix(0, 3), 4);
    EXPECT_EQ(matrix(3, 0), 13);
    EXPECT_EQ(castOf<tov::math::Matrix4>()->toString(&matrix), "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16");
    EXPECT_THROW(converted<tov::math::Matrix4>("1 2 3"), std::invalid_argument);
}

TEST(CastClasses, UnknownTypesHaveNoCastClass)
{
    struct Local
    {};
    EXPECT_EQ(CastClassManager::getInstance()->createCastClassForType(&typeid(Local)), nullptr);
}

TEST(Parameters, TheGuiDefaultMayBeReadWhileAnotherThreadWritesIt)
{
    Parameter<int> parameter(QStringLiteral("p"), QString());
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 0; i < 20000; ++i)
            parameter.setDefaultParameterForDefaultGUI(QString::number(i % 10).repeated(20));
        done = true;
    });
    bool whole = true;
    while (!done) {
        const QString text = parameter.getDefaultParameterForDefaultGUI();
        whole = whole && (text.isEmpty() || text == text.left(1).repeated(20));
    }
    writer.join();
    EXPECT_TRUE(whole);
    EXPECT_EQ(parameter.getDefaultParameterForDefaultGUI(), QString(20, QLatin1Char('9')));
}

TEST(TypeSolver, TheSameTypeIsShared)
{
    Parameter<int> provided(QStringLiteral("p"), QString());
    ASSERT_TRUE(provided.castString(QStringLiteral("5")));
    Parameter<int> local(QStringLiteral("l"), QString());
    ASSERT_TRUE(TypeSolver::solve(local, &provided));
    EXPECT_EQ(local.getValuePointer(), provided.getValuePointer());
    EXPECT_FALSE(local.deletesOnSet());
    local.deleteValue();
    EXPECT_EQ(provided.toString(), "5") << "the local parameter does not own it";
    provided.deleteValue();
}

TEST(TypeSolver, OtherTypesAreConvertedThroughText)
{
    Parameter<QString> provided(QStringLiteral("p"), QString());
    ASSERT_TRUE(provided.castString(QStringLiteral("12")));
    Parameter<int> local(QStringLiteral("l"), QString());
    ASSERT_TRUE(TypeSolver::solve(local, &provided));
    EXPECT_EQ(*static_cast<int*>(local.getValuePointer()), 12);
    EXPECT_TRUE(local.deletesOnSet());
    local.deleteValue();
    ASSERT_TRUE(provided.castString(QStringLiteral("twelve")));
    EXPECT_FALSE(TypeSolver::solve(local, &provided));
    EXPECT_FALSE(local.hasValue());
    provided.deleteValue();
    // The reverse direction, after a shared value that the local parameter does not own.
    Parameter<QString> text(QStringLiteral("t"), QString()), shared(QStringLiteral("s"), QString());
    ASSERT_TRUE(shared.castString(QStringLiteral("shared")));
    ASSERT_TRUE(TypeSolver::solve(text, &shared));
    ASSERT_TRUE(local.castString(QStringLiteral("-3")));
    ASSERT_TRUE(TypeSolver::solve(text, &local));
    EXPECT_EQ(text.toString(), "-3");
    EXPECT_TRUE(text.deletesOnSet());
    EXPECT_EQ(shared.toString(), "shared");
    for (AbstractParameter* parameter :
         {static_cast<AbstractParameter*>(&text), static_cast<AbstractParameter*>(&shared),
          static_cast<AbstractParameter*>(&local)})
        parameter->deleteValue();
}

TEST(TypeSolver, NoProvidedValueIsFalse)
{
    Parameter<int> local(QStringLiteral("l"), QString()), empty(QStringLiteral("e"), QString());
    EXPECT_FALSE(TypeSolver::solve(local, nullptr));
    EXPECT_FALSE(TypeSolver::solve(nullptr, &local));
    EXPECT_FALSE(TypeSolver::solve(local, &empty));
}

TEST(ParameterSet, IndexesAreChecked)
{
    ParameterSet set(4, QStringLiteral("title"));
    set.addParameter(new Parameter<int>(QStringLiteral("Number"), QString()));
    EXPECT_EQ(set.getId(), 4);
    EXPECT_EQ(set.find(QStringLiteral("number")), set.at(0));
    EXPECT_THROW(set.at(1), std::out_of_range);
}

TEST(Matrix, ProductAndTransposition)
{
    auto a = tov::math::Matrix4::identity();
    a(0, 3) = 5;
    auto b = tov::math::Matrix4::identity();
    b(0, 0) = 2;
    const auto c = a * b;
    EXPECT_EQ(c(0, 0), 2);
    EXPECT_EQ(c(0, 3), 5);
    EXPECT_EQ(c.transposed()(3, 0), 5);
    EXPECT_EQ(c.transposed().data()[12], 5) << "column by column, as OpenGL expects";
}
