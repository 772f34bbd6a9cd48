#pragma once

#include <algorithm>
#include <vector>

#include "ipl/GlobalErrorHandler.h"

namespace common_ {

template <typename I>
class SubjectBase;

/// Receiver of the listener interface I: derive from it and implement I.
///
/// A listener is registered with at most one subject of I at a time; registering it with a second one moves it. Either
/// side may be destroyed first. There is no lock: listener and subject live on one active object.
template <typename I>
class ListenerBase : public I
{
public:
    ListenerBase() = default;
    ~ListenerBase() override
    {
        if (m_subject != nullptr) {
            m_subject->removeListener(this);
        }
    }
    ListenerBase(const ListenerBase&) = delete;
    ListenerBase& operator=(const ListenerBase&) = delete;

private:
    void setSubject(SubjectBase<I>* subject)
    {
        if (m_subject != nullptr) {
            std::erase(m_subject->m_listeners, this);
        }
        m_subject = subject;
    }

    SubjectBase<I>* m_subject = nullptr;

    friend class SubjectBase<I>;
};

/// Emitter of the listener interface I: derive from it and call notify.
///
/// Listeners are not owned and are told in the order of their registration. The list is walked in place: a listener
/// neither registers nor removes anybody while it is being notified.
template <typename I>
class SubjectBase
{
public:
    SubjectBase() = default;
    virtual ~SubjectBase()
    {
        while (!m_listeners.empty()) {
            auto* const listener = m_listeners.back();
            m_listeners.pop_back();
            if (listener != nullptr) {
                listener->setSubject(nullptr);
            }
        }
    }
    SubjectBase(const SubjectBase&) = delete;
    SubjectBase& operator=(const SubjectBase&) = delete;

    /// Appends a listener; one that is registered here already stays where it is. A null listener is a fault of the
    /// caller that the next notify reports.
    void addListener(ListenerBase<I>* listener)
    {
        if (std::find(m_listeners.begin(), m_listeners.end(), listener) != m_listeners.end()) {
            return;
        }
        m_listeners.push_back(listener);
        if (listener != nullptr) {
            listener->setSubject(this);
        }
    }

    /// Removes a listener; one that is not registered here is left alone.
    void removeListener(ListenerBase<I>* listener)
    {
        if (std::erase(m_listeners, listener) != 0 && listener != nullptr) {
            listener->setSubject(nullptr);
        }
    }

    /// Calls one member function of I with the arguments on every listener. A null listener is a fatal assertion.
    template <typename Operation, typename... Args>
    void notify(Operation I::*operation, Args&&... args)
    {
        for (auto* const listener : m_listeners) {
            if (listener == nullptr) {
                ipl::GlobalErrorHandler::doFatalAssert("listener != nullptr",
                                                       "conn_common/include/conn_common/UniversalListenerAndSubject",
                                                       93, "operator()", "Listener is a nullpointer!");
            }
            (static_cast<I*>(listener)->*operation)(args...);
        }
    }

private:
    std::vector<ListenerBase<I>*> m_listeners;

    friend class ListenerBase<I>;
};

} // namespace common_
