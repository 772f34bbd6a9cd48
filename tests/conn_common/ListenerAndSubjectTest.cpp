#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "RecordedErrors.h"
#include "conn_common/UniversalListenerAndSubject.h"

namespace {

class IWordListener
{
public:
    virtual ~IWordListener() = default;
    virtual void onWord(const std::string& word, int number) = 0;
};

class Listener : public common_::ListenerBase<IWordListener>
{
public:
    Listener(char name, std::string& heard) : m_name{name}, m_heard{heard} {}

    void onWord(const std::string& word, int number) override { m_heard += m_name + word + std::to_string(number); }

private:
    const char m_name;
    std::string& m_heard;
};

class Subject : public common_::SubjectBase<IWordListener>
{
public:
    void say(const std::string& word, int number) { notify(&IWordListener::onWord, word, number); }
};

class ListenerAndSubject : public testing::Test
{
protected:
    std::string said(Subject& speaker)
    {
        heard.clear();
        speaker.say("x", 1);
        return heard;
    }

    std::string heard;
    std::optional<Subject> subject{std::in_place};
    std::optional<Listener> a{std::in_place, 'a', heard};
    std::optional<Listener> b{std::in_place, 'b', heard};
    std::optional<Listener> c{std::in_place, 'c', heard};
};

TEST_F(ListenerAndSubject, ListenersAreToldOnceEachInTheOrderOfRegistration)
{
    for (auto* listener : {&*c, &*a, &*b, &*c}) {
        subject->addListener(listener);
    }
    EXPECT_EQ(said(*subject), "cx1ax1bx1");
}

TEST_F(ListenerAndSubject, RemovedListenerHearsNothingAndTheOthersKeepTheirOrder)
{
    for (auto* listener : {&*a, &*b, &*c}) {
        subject->addListener(listener);
    }
    subject->removeListener(&*b);
    subject->removeListener(&*b);
    EXPECT_EQ(said(*subject), "ax1cx1");
    subject->addListener(&*b);
    EXPECT_EQ(said(*subject), "ax1cx1bx1");
}

TEST_F(ListenerAndSubject, SecondRegistrationMovesTheListener)
{
    Subject second;
    subject->addListener(&*a);
    second.addListener(&*a);
    EXPECT_EQ(said(*subject), "");
    EXPECT_EQ(said(second), "ax1");
    subject->removeListener(&*a); // a stranger by now
    EXPECT_EQ(said(second), "ax1");
}

TEST_F(ListenerAndSubject, DestroyedListenerIsSkipped)
{
    for (auto* listener : {&*a, &*b, &*c}) {
        subject->addListener(listener);
    }
    b.reset();
    EXPECT_EQ(said(*subject), "ax1cx1");
}

TEST_F(ListenerAndSubject, ListenersOutliveTheirSubjectAndCanJoinAnother)
{
    for (auto* listener : {&*a, &*b, &*c}) {
        subject->addListener(listener);
    }
    subject.reset();
    b.reset();
    Subject second;
    second.addListener(&*c);
    second.addListener(&*a);
    EXPECT_EQ(said(second), "cx1ax1");
}

TEST_F(ListenerAndSubject, NullListenerIsFatalAtTheNextNotification)
{
    const test_support::RecordedErrors errors;
    subject->addListener(&*a);
    subject->addListener(nullptr);
    try {
        subject->say("x", 1);
        FAIL() << "no assertion";
    } catch (const test_support::FatalAssertion& fatal) {
        EXPECT_EQ(heard, "ax1");
        EXPECT_EQ(fatal.expression, "listener != nullptr");
        EXPECT_STREQ(fatal.place.file, "conn_common/include/conn_common/UniversalListenerAndSubject");
        EXPECT_EQ(fatal.place.line, 93);
        EXPECT_STREQ(fatal.place.function, "operator()");
        EXPECT_EQ(fatal.message, "Listener is a nullpointer!");
    }
}

} // namespace
