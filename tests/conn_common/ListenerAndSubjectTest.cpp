#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "conn_common/UniversalListenerAndSubject.h"

namespace {

struct IRollCall
{
    virtual ~IRollCall() = default;
    virtual void onCall(std::string& heard, char mark) = 0;
};

struct Listener : common_::ListenerBase<IRollCall>
{
    explicit Listener(char letter) : name{letter} {}
    void onCall(std::string& heard, char mark) override { (heard += name) += mark; }
    const char name;
};

struct Subject : common_::SubjectBase<IRollCall>
{
    std::string heard()
    {
        std::string all;
        notify(&IRollCall::onCall, all, '!');
        return all;
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
    EXPECT_EQ(subject.heard(), "c!a!b!");
    subject.removeListener(&a);
    Subject second;
    second.addListener(&c);
    EXPECT_EQ(subject.heard(), "b!") << "the second registration moves the listener";
    subject.removeListener(&c); // a stranger by now
    EXPECT_EQ(second.heard(), "c!");
}

TEST(ListenerAndSubject, EitherSideMayEndFirst)
{
    Listener a{'a'};
    std::optional<Listener> b{'b'};
    std::optional<Subject> subject{std::in_place};
    subject->addListener(&*b);
    subject->addListener(&a);
    b.reset();
    EXPECT_EQ(subject->heard(), "a!");
    subject.reset();
    Subject{}.addListener(&a);
}

} // namespace
