#include "kernel/main/parameter.h"

#include "kernel/main/castclassmanager.h"
#include "kernel/main/parameterset.h"
#include "kernel/math/matrix.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "tests/support/logcapture.h"

#include <QImage>

#include <gtest/gtest.h>

#include <stdexcept>

using namespace tov::main;
using tov::test::LogCapture;

namespace {

/// A value that counts its instances, and a cast class whose deletion can throw.
struct Counted
{
    Counted() { ++alive; }
    ~Counted() { --alive; }
    static int alive;
};
int Counted::alive = 0;
bool deletionThrows = false;
bool specialDeletion = false;
int specialDeletions = 0;

class CountedCast : public CastClass
{
public:
    CountedCast() : CastClass(specialDeletion) {}
    void* fromString(const QString& text) override
    {
        if (text == QLatin1String("bad"))
            throw std::invalid_argument("bad");
        return new Counted;
    }
    QString toString(const void*) override { return QStringLiteral("counted"); }
    void deleteValue(void* value) override
    {
        if (deletionThrows)
            throw std::runtime_error("deletion");
        ++specialDeletions;
        delete static_cast<Counted*>(value);
    }
};

class ParameterTest : public testing::Test
{
protected:
    void SetUp() override
    {
        CastClassManager::getInstance()->registerCastClass(typeid(Counted), [] { return new CountedCast; });
        deletionThrows = specialDeletion = false;
        specialDeletions = Counted::alive = 0;
    }
};

typedef Parameter<Counted> CountedParameter;

CountedParameter makeCounted()
{
    return CountedParameter(QStringLiteral("counted"), QString());
}

} // namespace

TEST_F(ParameterTest, StartsEmptyUnboundMandatoryWithoutEditor)
{
    Parameter<int> parameter(QStringLiteral("name"), QStringLiteral("description"));
    EXPECT_FALSE(parameter.hasValue());
    EXPECT_EQ(parameter.getValuePointer(), nullptr);
    EXPECT_EQ(parameter.toString(), QString());
    EXPECT_EQ(*parameter.getType(), typeid(int));
    EXPECT_TRUE(parameter.getCastClass());
    EXPECT_TRUE(parameter.isMandatory());
    EXPECT_TRUE(parameter.deletesOnSet());
    EXPECT_EQ(parameter.getDefaultText(), QString());
    EXPECT_EQ(parameter.getParameterPanelFactory(), nullptr);
    EXPECT_FALSE(Parameter<QString>(QStringLiteral("t"), QString()).getCastClass()) << "text needs none";
}

TEST_F(ParameterTest, EveryInstantiationConverts)
{
    Parameter<bool> flag(QStringLiteral("f"), QString());
    EXPECT_TRUE(flag.castString(QStringLiteral("1")));
    EXPECT_EQ(flag.toString(), "1");
    Parameter<int> number(QStringLiteral("n"), QString());
    EXPECT_TRUE(number.castString(QStringLiteral("-5")));
    EXPECT_EQ(number.toString(), "-5");
    Parameter<QString> text(QStringLiteral("t"), QString());
    EXPECT_TRUE(text.castString(QStringLiteral(" as it stands ")));
    EXPECT_EQ(text.toString(), " as it stands ");
    Parameter<tov::math::Matrix<double, 4u, 4u>> matrix(QStringLiteral("m"), QString());
    EXPECT_TRUE(matrix.castString(QStringLiteral("1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1")));
    Parameter<QImage> image(QStringLiteral("i"), QString());
    EXPECT_FALSE(image.castString(QStringLiteral("x")));
    image.setValuePointer(new QImage(2, 3, QImage::Format_ARGB32));
    EXPECT_TRUE(image.hasValue());
    tov::scene::Viewer::getInstance();
    Parameter<tov::gui::ScenePanel> panel(QStringLiteral("p"), QString());
    EXPECT_TRUE(panel.getCastClass());
    EXPECT_FALSE(panel.castString(QStringLiteral("x")));
    for (AbstractParameter* parameter :
         std::initializer_list<AbstractParameter*>{&flag, &number, &text, &matrix, &image, &panel}) {
        parameter->deleteValue();
        EXPECT_FALSE(parameter->hasValue());
    }
}

TEST_F(ParameterTest, DestroyingNeverFreesTheValue)
{
    auto* value = new Counted;
    {
        CountedParameter parameter = makeCounted();
        parameter.setValuePointer(value);
    }
    EXPECT_EQ(Counted::alive, 1);
    delete value;
}

TEST_F(ParameterTest, ASetFreesTheValuesThatItsParametersOwn)
{
    auto* kept = new Counted;
    {
        ParameterSet set(0);
        for (int i = 0; i < 2; ++i)
            set.addParameter(new CountedParameter(QStringLiteral("counted"), QString()));
        set.at(0)->setValuePointer(new Counted);
        set.at(1)->disableDeleteOnSet(true);
        set.at(1)->setValuePointer(kept);
    }
    EXPECT_EQ(Counted::alive, 1);
    delete kept;
}

TEST_F(ParameterTest, TheCriticalMessageOmitsTheMarkOfALocalType)
{
    // The names of types that are local to a library begin with a mark, which is not shown.
    CountedParameter parameter = makeCounted();
    static QString message;
    const auto previous =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) { message = text; });
    bool flag = true;
    EXPECT_FALSE(assignTyped(&parameter, &flag));
    qInstallMessageHandler(previous);
    EXPECT_TRUE(message.startsWith(QLatin1String("Invalid type! (N12_GLOBAL__N_17CountedE <-> b)")))
        << message.toStdString();
}

TEST_F(ParameterTest, ReplacingFreesTheOldValueOnlyWhenOwned)
{
    CountedParameter parameter = makeCounted();
    parameter.setValuePointer(new Counted);
    parameter.setValuePointer(new Counted);
    EXPECT_EQ(Counted::alive, 1);
    parameter.disableDeleteOnSet(true);
    auto* left = static_cast<Counted*>(parameter.getValuePointer());
    parameter.setValuePointer(nullptr);
    EXPECT_EQ(Counted::alive, 1);
    delete left;
}

TEST_F(ParameterTest, CastStringAndTakeValueFromFreeTheOldValueOnlyWhenOwned)
{
    CountedParameter parameter = makeCounted(), other = makeCounted();
    auto* first = new Counted;
    parameter.setValuePointer(first);
    parameter.disableDeleteOnSet(true);
    ASSERT_TRUE(parameter.castString(QStringLiteral("x")));
    auto* second = static_cast<Counted*>(parameter.getValuePointer());
    EXPECT_NE(second, first);
    EXPECT_EQ(Counted::alive, 2) << "the old one is not changed";
    other.setValuePointer(new Counted);
    parameter.takeValueFrom(&other);
    EXPECT_EQ(Counted::alive, 3);
    Counted* member = nullptr;
    parameter.bindTo(&member);
    EXPECT_FALSE(parameter.hasValue());
    EXPECT_EQ(Counted::alive, 3);
    other.deleteValue();
    delete first;
    delete second;
    EXPECT_EQ(Counted::alive, 0);
}

TEST_F(ParameterTest, AThrowingDeletionDoesNotPreventANewValue)
{
    specialDeletion = true;
    CountedParameter parameter = makeCounted(), other = makeCounted();
    auto* first = new Counted;
    auto* second = new Counted;
    auto* third = new Counted;
    other.setValuePointer(third);
    parameter.setValuePointer(first);
    deletionThrows = true;
    LogCapture log;
    parameter.setValuePointer(second);
    EXPECT_EQ(parameter.getValuePointer(), second);
    parameter.takeValueFrom(&other);
    EXPECT_EQ(parameter.getValuePointer(), third);
    Counted* member = nullptr;
    parameter.bindTo(&member);
    EXPECT_FALSE(parameter.hasValue());
    EXPECT_EQ(log.withMessage(QStringLiteral("Save your data!")).size(), 3u) << log.text();
    EXPECT_EQ(log.records().size(), 3u);
    delete first;
    delete second;
    delete third;
}

TEST_F(ParameterTest, AssigningTheCurrentValueDoesNothing)
{
    CountedParameter parameter = makeCounted();
    auto* value = new Counted;
    parameter.setValuePointer(value);
    parameter.setValuePointer(value);
    parameter.takeValueFrom(&parameter);
    EXPECT_EQ(Counted::alive, 1);
    EXPECT_EQ(parameter.getValuePointer(), value);
    parameter.deleteValue();
}

TEST_F(ParameterTest, TheBoundMemberEqualsTheValueAfterEveryOperation)
{
    CountedParameter parameter = makeCounted();
    Counted* member = new Counted;
    parameter.bindTo(&member);
    EXPECT_EQ(parameter.getValuePointer(), member) << "the value of the member becomes the value";
    EXPECT_TRUE(parameter.hasValue());
    ASSERT_TRUE(parameter.castString(QStringLiteral("x")));
    EXPECT_EQ(parameter.getValuePointer(), member);
    EXPECT_EQ(Counted::alive, 1);
    CountedParameter other = makeCounted();
    other.setValuePointer(new Counted);
    other.disableDeleteOnSet(true);
    parameter.takeValueFrom(&other);
    EXPECT_EQ(member, other.getValuePointer());
    EXPECT_EQ(Counted::alive, 1);
    parameter.deleteValue();
    EXPECT_EQ(member, nullptr);
    EXPECT_EQ(Counted::alive, 0);
}

TEST_F(ParameterTest, BindingToNothingClearsAndUnbinds)
{
    CountedParameter parameter = makeCounted();
    Counted* member = new Counted;
    parameter.bindTo(&member);
    parameter.bindTo(nullptr);
    EXPECT_EQ(member, nullptr);
    EXPECT_FALSE(parameter.hasValue());
    EXPECT_EQ(Counted::alive, 0);
    parameter.setValuePointer(new Counted);
    EXPECT_EQ(member, nullptr) << "no longer bound";
    parameter.deleteValue();
}

TEST_F(ParameterTest, BindingElsewhereClearsTheMemberBoundSoFar)
{
    CountedParameter parameter = makeCounted();
    Counted* first = new Counted;
    Counted* second = nullptr;
    parameter.bindTo(&first);
    parameter.bindTo(&second);
    EXPECT_EQ(first, nullptr);
    EXPECT_FALSE(parameter.hasValue());
    EXPECT_EQ(Counted::alive, 0);
}

TEST_F(ParameterTest, OnlyTheSameTypeIsAccepted)
{
    Parameter<int> number(QStringLiteral("n"), QString()), same(QStringLiteral("s"), QString());
    Parameter<bool> flag(QStringLiteral("f"), QString());
    ASSERT_TRUE(number.castString(QStringLiteral("4")));
    ASSERT_TRUE(flag.castString(QStringLiteral("1")));
    number.takeValueFrom(&flag);
    number.takeValueFrom(nullptr);
    EXPECT_EQ(number.toString(), "4");
    same.takeValueFrom(&number);
    EXPECT_EQ(same.getValuePointer(), number.getValuePointer()) << "shared, not copied";
    number.deleteValue();
    flag.deleteValue();
}

TEST_F(ParameterTest, AFailedConversionKeepsTheValueAndIsLogged)
{
    CountedParameter parameter = makeCounted();
    parameter.setValuePointer(new Counted);
    void* before = parameter.getValuePointer();
    LogCapture log;
    EXPECT_FALSE(parameter.castString(QStringLiteral("bad")));
    EXPECT_EQ(parameter.getValuePointer(), before);
    ASSERT_EQ(log.records().size(), 1u);
    const auto record = log.records()[0];
    EXPECT_EQ(record.level, 1000);
    EXPECT_EQ(record.file, "../kernel/main/parameter");
    EXPECT_EQ(record.line, 87);
    EXPECT_EQ(record.function, "castString");
    EXPECT_TRUE(record.category.isEmpty());
    EXPECT_EQ(record.message, "Parameter::castString() There was an error!");
    parameter.deleteValue();
}

TEST_F(ParameterTest, AThrowingDeletionIsLoggedAndTheValueIsCleared)
{
    specialDeletion = true;
    Counted* member = nullptr;
    CountedParameter parameter = makeCounted();
    parameter.bindTo(&member);
    auto* value = new Counted;
    parameter.setValuePointer(value);
    deletionThrows = true;
    LogCapture log;
    parameter.deleteValue();
    EXPECT_FALSE(parameter.hasValue());
    EXPECT_EQ(member, nullptr);
    ASSERT_EQ(log.records().size(), 1u);
    const auto record = log.records()[0];
    EXPECT_EQ(record.level, 1000);
    EXPECT_EQ(record.file, "../kernel/main/parameter");
    EXPECT_EQ(record.line, 194);
    EXPECT_EQ(record.function, "deleteValue");
    EXPECT_EQ(record.message, "Save your data!");
    delete value;
}

TEST_F(ParameterTest, AThrowingDeletionInsideAConversionKeepsTheOldValue)
{
    specialDeletion = true;
    CountedParameter parameter = makeCounted();
    auto* value = new Counted;
    parameter.setValuePointer(value);
    deletionThrows = true;
    LogCapture log;
    EXPECT_FALSE(parameter.castString(QStringLiteral("good")));
    EXPECT_EQ(parameter.getValuePointer(), value);
    ASSERT_EQ(log.records().size(), 1u);
    EXPECT_EQ(log.records()[0].line, 87);
    EXPECT_EQ(Counted::alive, 1) << "the new value is not leaked";
    delete value;
}

TEST_F(ParameterTest, SpecialDeletionGoesThroughTheCastClass)
{
    specialDeletion = true;
    CountedParameter parameter = makeCounted();
    parameter.deleteValue();
    EXPECT_EQ(specialDeletions, 0) << "nothing to free";
    parameter.setValuePointer(new Counted);
    parameter.deleteValue();
    EXPECT_EQ(specialDeletions, 1);
    EXPECT_EQ(Counted::alive, 0);
}

TEST_F(ParameterTest, TheDebugTextContainsAllFields)
{
    Parameter<int> parameter(QStringLiteral("width"), QString());
    int* member = nullptr;
    parameter.bindTo(&member);
    ASSERT_TRUE(parameter.castString(QStringLiteral("3")));
    EXPECT_EQ(parameter.toDebugString(),
              QString::asprintf("%p (width): value: %p  binded: %p\n", static_cast<void*>(&parameter),
                                parameter.getValuePointer(), static_cast<void*>(&member)));
    EXPECT_TRUE(parameter.toDebugString().endsWith(QLatin1Char('\n')));
    parameter.deleteValue();
}

TEST_F(ParameterTest, TypedAssignmentChecksTheType)
{
    Parameter<int> parameter(QStringLiteral("n"), QString());
    static QString message;
    message.clear();
    const auto previous = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
        if (type == QtCriticalMsg)
            message = text;
    });
    bool flag = true;
    EXPECT_FALSE(assignTyped(&parameter, &flag));
    EXPECT_EQ(message, "Invalid type! (i <-> b)");
    EXPECT_FALSE(parameter.hasValue());
    message.clear();
    EXPECT_EQ(fetchTyped<bool>(&parameter), nullptr);
    EXPECT_EQ(message, "Invalid type!");
    message.clear();
    int number = 4;
    parameter.disableDeleteOnSet(true);
    EXPECT_TRUE(assignTyped(&parameter, &number));
    EXPECT_EQ(fetchTyped<int>(&parameter), &number);
    EXPECT_TRUE(message.isEmpty());
    qInstallMessageHandler(previous);
}

namespace {

/// Records the index of the virtual function that is called.
template <typename Result, typename... Arguments>
Result callSlot(AbstractParameter* object, int slot, Arguments... arguments)
{
    void** table = *reinterpret_cast<void***>(object);
    return reinterpret_cast<Result (*)(AbstractParameter*, Arguments...)>(table[slot])(object, arguments...);
}

} // namespace

TEST_F(ParameterTest, VirtualFunctionsStartWithDestructorsThenConversionsThenAssignments)
{
    auto* parameter = new Parameter<int>(QStringLiteral("n"), QString());
    const QString text = QStringLiteral("6");
    EXPECT_TRUE((callSlot<bool, const QString*>(parameter, 2, &text)));
    EXPECT_EQ(parameter->toString(), "6");
    EXPECT_EQ(callSlot<QString>(parameter, 3), "6");
    EXPECT_TRUE(callSlot<bool>(parameter, 6));
    EXPECT_EQ(callSlot<QString>(parameter, 7), parameter->toDebugString());
    EXPECT_EQ(callSlot<void*>(parameter, 8), parameter->getValuePointer());
    callSlot<void>(parameter, 4);
    EXPECT_FALSE(parameter->hasValue());
    callSlot<void, void*>(parameter, 9, new int(9));
    EXPECT_EQ(parameter->toString(), "9");
    Parameter<int> other(QStringLiteral("o"), QString());
    callSlot<void, AbstractParameter*>(&other, 5, parameter);
    EXPECT_EQ(other.toString(), "9");
    int* member = nullptr;
    callSlot<void, void*>(parameter, 10, &member);
    EXPECT_FALSE(parameter->hasValue());
    callSlot<void>(parameter, 1); // deletes it
}
