#include "util/Thread.h"

#include <cerrno>
#include <pthread.h>
#include <system_error>
#include <utility>

#include "ipl/ErrorStorage.h"

namespace util {

Thread::Thread(std::string name, std::function<void()> function)
    : m_name{std::move(name), 0, 15}, m_function{std::move(function)}
{}

Thread::~Thread()
{
    requestStop();
    join();
}

bool Thread::start()
{
    if (m_thread.joinable()) {
        ipl::ErrorStorage::set(EBUSY, "thread %s is started already", m_name.c_str());
        return true;
    }
    try {
        m_thread = std::thread{[this] { m_function(); }};
    } catch (const std::system_error& error) {
        ipl::ErrorStorage::set(static_cast<std::uint32_t>(error.code().value()), "%s", error.what());
        return true;
    }
    pthread_setname_np(m_thread.native_handle(), m_name.c_str());
    return false;
}

bool Thread::join()
{
    if (!m_thread.joinable()) {
        return false;
    }
    if (m_thread.get_id() == std::this_thread::get_id()) {
        ipl::ErrorStorage::set(EDEADLK, "thread %s cannot join itself", m_name.c_str());
        return true;
    }
    m_thread.join();
    return false;
}

} // namespace util
