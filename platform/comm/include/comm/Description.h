#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace comm {

/// Description of a service of the bus, written once in its header under interfaces/ and used by both sides: stub,
/// proxies, marshalling and introspection data are generated from it at compile time.
///
/// A record lists its fields in wire order:
///
///     struct FirewallDropPacketInfo
///     {
///         std::uint32_t type;
///         std::uint32_t packetCount;
///         static constexpr auto fields()
///         {
///             return std::tuple{comm::field("type", &FirewallDropPacketInfo::type),
///                               comm::field("packetCount", &FirewallDropPacketInfo::packetCount)};
///         }
///     };
///
/// A service is a struct with its name, the abstract class of its requests (what clients may call), the abstract class
/// of its replies (what the service sends to a client), and the list of the methods of both and of its attributes, each
/// with the number it has on the bus:
///
///     struct IdsServiceDescription
///     {
///         static constexpr std::string_view name = "asi.connectivity.ids.IdsService";
///         using Requests = IdsService;
///         using Reply = IdsServiceReply;
///         static constexpr auto requests = std::tuple{};
///         static constexpr auto replies = std::tuple{};
///         static constexpr auto attributes = std::tuple{
///             comm::attribute<&IdsServiceReply::updateFirewallDropPacketInfo>(8, "FirewallDropPacketInfo",
///                                                                             "updateFirewallDropPacketInfo")};
///     };

template <typename Record, typename Value>
struct Field
{
    const char* name;
    Value Record::*member;
};

template <typename Record, typename Value>
constexpr Field<Record, Value> field(const char* name, Value Record::*member)
{
    return {name, member};
}

/// Whether T is a record that lists its fields.
template <typename T>
concept Record = requires
{
    T::fields();
};

/// The properties of a method, from its member function pointer: its class, its result and its arguments as values.
template <typename Function>
struct FunctionTraits;

template <typename Class, typename ResultT, typename... Args>
struct FunctionTraits<ResultT (Class::*)(Args...)>
{
    using Interface = Class;
    using Result = ResultT;
    using Arguments = std::tuple<std::remove_cvref_t<Args>...>;
};

inline constexpr std::size_t kMaxArguments = 8;

/// One method of an interface: its C++ member function, its number and name on the bus and the names of its arguments.
template <auto function>
struct Method : FunctionTraits<decltype(function)>
{
    static constexpr auto kFunction = function;
    std::uint32_t id;
    const char* name;
    const char* argumentNames[kMaxArguments];
};

template <auto function, typename... Names>
constexpr Method<function> method(std::uint32_t id, const char* name, Names... argumentNames)
{
    static_assert(sizeof...(Names) == std::tuple_size_v<typename Method<function>::Arguments>,
                  "every argument has a name");
    return {{}, id, name, {argumentNames...}};
}

/// One attribute of a service: the reply function that carries its value and validity to a client, its number, its own
/// name and the name of that function on the bus.
template <auto function>
struct Attribute : FunctionTraits<decltype(function)>
{
    static constexpr auto kFunction = function;
    using Value = std::tuple_element_t<0, typename FunctionTraits<decltype(function)>::Arguments>;
    std::uint32_t id;
    const char* name;
    const char* updateName;
};

template <auto function>
constexpr Attribute<function> attribute(std::uint32_t id, const char* name, const char* updateName)
{
    return {{}, id, name, updateName};
}

/// Numbers of the requests that every service with attributes has in addition to its own.
enum ReservedRequest : std::uint32_t
{
    getAttributes = 32762,        ///< send every attribute's value now
    cancelNotification = 32763,   ///< stops the updates of one attribute
    cancelNotifications = 32764,  ///< stops the updates of all attributes
    getAttribute = 32765,         ///< send one attribute's value now
    requestNotification = 32766,  ///< send one attribute's value now and at every update
    requestNotifications = 32767, ///< the same for every attribute
};

} // namespace comm
