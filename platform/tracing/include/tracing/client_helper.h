#pragma once

#include <string>
#include <utility>

#include "tracing/CallbackDispatcher.h"

namespace tracing::client_helper {

/// Registers a member function of an object as a test command of its class.
template <typename Class>
void addCommand(CallbackDispatcher& dispatcher, std::string name, Class& object, void (Class::*command)())
{
    dispatcher.add(std::move(name), [&object, command] { (object.*command)(); });
}

} // namespace tracing::client_helper
