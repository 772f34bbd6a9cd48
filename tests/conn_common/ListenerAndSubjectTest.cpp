#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "RecordedErrors.h"
#include "conn_common/UniversalListenerAndSubject.h"

namespace {

struct IWordListener
{
    virtual ~IWordListener() = default;
    virtual void onWord(const std::string& word, int number) = 0;
};

std::string s_heard;

struct Listener : common_::ListenerBase<IWordListener>
{
    explicit Listener(char letter) : name{letter} {}
    void onWord(const std::string& word, int number) override { s_heard += name + word + std::to_string(number); }
    const char name;
};

struct Subject : common_::SubjectBase<IWordListener>
{
    std::string heard()
    {
        s_heard.clear();
        notify(&IWordListener::onWord, "x", 1);
        return s_heard;
    }
};

TEST(ListenerAndSubject, ListenersAreToldOnceEachInTheOrderOfRegistration)
{
    Listener a{'a'};
    Listener b{'b'};
    Listener c{'c'};
    Subject subject;
    for (auto* listener : {&c, &a, &b, &c}) {
        subject.addListener(listener);
    }
    EXPECT_EQ(subject.heard(), "cx1ax1bx1");
    subject.removeListener(&a);
    subject.removeListener(&a);
    EXPECT_EQ(subject.heard(), "cx1bx1");
    Subject second;
    second.addListener(&c);
    EXPECT_EQ(subject.heard(), "bx1") << "the second registration moves the listener";
    subject.removeListener(&c); // a stranger by now
    EXPECT_EQ(second.heard(), "cx1");
}

TEST(ListenerAndSubject, EitherSideMayEndFirst)
{
    Listener a{'a'};
    std::optional<Listener> b{'b'};
    std::optional<Subject> subject{std::in_place};
    subject->addListener(&*b);
    subject->addListener(&a);
    b.reset();
    EXPECT_EQ(subject->heard(), "ax1");
    subject.reset();
    Subject{}.addListener(&a);
}

TEST(ListenerAndSubject, NullListenerIsFatalAtTheNextNotification)
{
    const test_support::RecordedErrors errors;
    Subject subject;
    subject.addListener(nullptr);
    try {
        subject.heard();
        FAIL() << "no assertion";
    } catch (const test_support::FatalAssertion& fatal) {
        EXPECT_EQ(fatal.place, "conn_common/include/conn_common/UniversalListenerAndSubject:93 operator()");
        EXPECT_EQ(fatal.expression + " " + fatal.message, "listener != nullptr Listener is a nullpointer!");
    }
}

} // namespace
