#pragma once

#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "comm/Marshalling.h"

namespace comm {

/// A service's description as data, for the bus layer and the introspection.
struct ArgumentInfo
{
    const char* name;
    const char* signature;
};

struct MethodInfo
{
    std::uint32_t id;
    const char* name;
    const char* signature; ///< of all arguments
    std::vector<ArgumentInfo> arguments;
    const char* resultSignature; ///< empty without a result
};

struct AttributeInfo
{
    std::uint32_t id;
    const char* name;
    const char* signature; ///< of the value
    const char* updateName;
};

struct ServiceInfo
{
    std::string name;
    std::vector<MethodInfo> requests;
    std::vector<MethodInfo> replies;
    std::vector<AttributeInfo> attributes;

    std::string busName(std::uint32_t instance) const { return name + ".instance" + std::to_string(instance); }
    std::string replyInterface() const { return name + "Reply"; }
    std::string objectPath(std::uint32_t instance) const;
};

/// A method's result, or a refusal with a reason for the caller.
template <typename T>
struct Result
{
    T value{};
    std::string error; ///< empty: value is valid
};

namespace detail {

template <typename T>
struct ResultCodec : Codec<T>
{};

template <>
struct ResultCodec<void>
{
    static constexpr Text<0> kSignature{};
};

template <typename T>
struct ResultCodec<Result<T>> : Codec<T>
{};

template <typename Method, typename... Args>
MethodInfo methodInfo(const Method& method, std::tuple<Args...>*)
{
    MethodInfo info{method.id,
                    method.name,
                    ArgumentsCodec<std::tuple<Args...>>::kSignature.c_str(),
                    {},
                    ResultCodec<typename Method::Result>::kSignature.c_str()};
    [[maybe_unused]] std::size_t next = 0;
    (info.arguments.push_back({method.argumentNames[next++], Codec<Args>::kSignature.c_str()}), ...);
    return info;
}

template <typename Methods>
std::vector<MethodInfo> methodInfos(const Methods& methods)
{
    std::vector<MethodInfo> all;
    std::apply(
        [&](const auto&... method) {
            (all.push_back(
                 methodInfo(method, static_cast<typename std::remove_cvref_t<decltype(method)>::Arguments*>(nullptr))),
             ...);
        },
        methods);
    return all;
}

} // namespace detail

/// The data of a description, made at the first call and never destroyed: active objects may outlive static objects.
template <typename Description>
const ServiceInfo& serviceInfo()
{
    static const auto* const info = new ServiceInfo{[] {
        ServiceInfo made{std::string{Description::name},
                         detail::methodInfos(Description::requests),
                         detail::methodInfos(Description::replies),
                         {}};
        std::apply(
            [&](const auto&... attribute) {
                (made.attributes.push_back(
                     {attribute.id, attribute.name,
                      Codec<typename std::remove_cvref_t<decltype(attribute)>::Value>::kSignature.c_str(),
                      attribute.updateName}),
                 ...);
            },
            Description::attributes);
        return made;
    }()};
    return *info;
}

} // namespace comm
