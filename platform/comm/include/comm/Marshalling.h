#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "comm/Description.h"
#include "comm/Message.h"
#include "util/SharedPtr.h"

/// The mapping of C++ types to D-Bus types, for all services.
///
///     bool b, integers by width and sign, double d, std::string s, enumeration as its underlying integer
///     std::vector<T> as an array; a record as a structure of its fields
///     SharedPtr<std::vector<T>> as the array: an absent array is the same as an empty one
///     SharedPtr<T> otherwise, and Nullable<T> always, as an array of no or one element: absent differs from empty
namespace comm {

/// A shared handle to an array for which absent differs from empty.
template <typename T>
struct Nullable : util::SharedPtr<T>
{
    using util::SharedPtr<T>::SharedPtr;
    explicit(false) Nullable(util::SharedPtr<T> array) : util::SharedPtr<T>{std::move(array)} {}
};

/// The name and the largest value of an enumeration on the bus. Found by argument-dependent lookup as `constexpr
/// comm::EnumLimit enumLimit(TheEnumeration)`; an enumeration without it accepts any value.
struct EnumLimit
{
    const char* name;
    std::uint64_t largest;
};

/// A text composed at compile time.
template <std::size_t size>
struct Text
{
    std::array<char, size + 1> bytes{};

    constexpr Text() = default;
    constexpr explicit(false) Text(const char (&literal)[size + 1])
    {
        for (std::size_t i = 0; i < size; ++i) {
            bytes[i] = literal[i];
        }
    }
    constexpr const char* c_str() const { return bytes.data(); }
};

template <std::size_t size>
Text(const char (&)[size]) -> Text<size - 1>;

template <std::size_t left, std::size_t right>
constexpr Text<left + right> operator+(const Text<left>& a, const Text<right>& b)
{
    Text<left + right> both;
    for (std::size_t i = 0; i < left; ++i) {
        both.bytes[i] = a.bytes[i];
    }
    for (std::size_t i = 0; i < right; ++i) {
        both.bytes[left + i] = b.bytes[i];
    }
    return both;
}

constexpr Text<0> operator+(const Text<0>& a, const Text<0>&)
{
    return a;
}

/// The bus type of T: kSignature, write and read.
template <typename T>
struct Codec;

template <typename T>
concept Number = std::integral<T> || std::floating_point<T>;

template <Number T>
constexpr char typeLetter()
{
    if constexpr (std::same_as<T, bool>) {
        return 'b';
    } else if constexpr (std::same_as<T, double>) {
        return 'd';
    } else {
        static_assert(sizeof(T) > 1 || std::unsigned_integral<T>, "the bus has no signed byte");
        constexpr std::array<char, 4> kSigned{'y', 'n', 'i', 'x'};
        constexpr std::array<char, 4> kUnsigned{'y', 'q', 'u', 't'};
        constexpr std::size_t width = sizeof(T) == 8 ? 3 : sizeof(T) / 2;
        return std::signed_integral<T> ? kSigned[width] : kUnsigned[width];
    }
}

template <Number T>
struct Codec<T>
{
    static constexpr char kType = typeLetter<T>();
    static constexpr Text<1> kSignature{{kType, 0}};

    static void write(MessageWriter& writer, T value)
    {
        if constexpr (std::same_as<T, bool>) {
            const int wide = value ? 1 : 0; // the bus library reads a bool as an int
            writer.basic(kType, &wide);
        } else {
            writer.basic(kType, &value);
        }
    }

    static void read(MessageReader& reader, T& value)
    {
        if constexpr (std::same_as<T, bool>) {
            int wide = 0;
            reader.basic(kType, &wide);
            value = wide != 0;
        } else {
            reader.basic(kType, &value);
        }
    }
};

template <>
struct Codec<std::string>
{
    static constexpr Text<1> kSignature{"s"};
    static void write(MessageWriter& writer, const std::string& value) { writer.text(value); }
    static void read(MessageReader& reader, std::string& value) { reader.text(value); }
};

template <typename T>
requires std::is_enum_v<T>
struct Codec<T>
{
    using Underlying = std::underlying_type_t<T>;
    static constexpr auto kSignature = Codec<Underlying>::kSignature;

    static void write(MessageWriter& writer, T value)
    {
        Codec<Underlying>::write(writer, static_cast<Underlying>(value));
    }

    static void read(MessageReader& reader, T& value)
    {
        Underlying number{};
        Codec<Underlying>::read(reader, number);
        if constexpr (requires { enumLimit(T{}); }) {
            constexpr EnumLimit limit = enumLimit(T{});
            if (static_cast<std::uint64_t>(number) > limit.largest) {
                reader.refuse(limit.name);
                return;
            }
        }
        value = static_cast<T>(number);
    }
};

template <typename T>
struct Codec<std::vector<T>>
{
    static constexpr auto kSignature = Text{"a"} + Codec<T>::kSignature;
    static constexpr bool kFlat = Number<T> && !std::same_as<T, bool>;

    static void write(MessageWriter& writer, const std::vector<T>& values)
    {
        if constexpr (kFlat) {
            writer.numbers(Codec<T>::kType, values.data(), values.size() * sizeof(T));
        } else {
            writer.open('a', Codec<T>::kSignature.c_str());
            for (const auto& value : values) {
                Codec<T>::write(writer, value);
            }
            writer.close();
        }
    }

    static void read(MessageReader& reader, std::vector<T>& values)
    {
        values.clear();
        if constexpr (kFlat) {
            const auto bytes = reader.numbers(Codec<T>::kType);
            const auto* const first = reinterpret_cast<const T*>(bytes.data()); // the bus aligns its arrays
            values.assign(first, first + bytes.size() / sizeof(T));
        } else {
            reader.enter('a', Codec<T>::kSignature.c_str());
            while (!reader.atEnd()) {
                T value{};
                Codec<T>::read(reader, value);
                values.push_back(std::move(value));
            }
            reader.leave();
        }
    }
};

template <Record T>
struct Codec<T>
{
    using Fields = decltype(T::fields());

    template <typename Field>
    struct ValueOf;
    template <typename R, typename V>
    struct ValueOf<Field<R, V>>
    {
        using type = V;
    };

    static constexpr auto kContents = []<std::size_t... i>(std::index_sequence<i...>)
    {
        return (Text<0>{} + ... + Codec<typename ValueOf<std::tuple_element_t<i, Fields>>::type>::kSignature);
    }
    (std::make_index_sequence<std::tuple_size_v<Fields>>{});
    static constexpr auto kSignature = Text{"("} + kContents + Text{")"};

    static void write(MessageWriter& writer, const T& record)
    {
        writer.open('r', kContents.c_str());
        std::apply([&](const auto&... field) { (writeField(writer, record.*field.member), ...); }, T::fields());
        writer.close();
    }

    static void read(MessageReader& reader, T& record)
    {
        reader.enter('r', kContents.c_str());
        std::apply([&](const auto&... field) { (readField(reader, record.*field.member), ...); }, T::fields());
        reader.leave();
    }

private:
    template <typename V>
    static void writeField(MessageWriter& writer, const V& value)
    {
        Codec<V>::write(writer, value);
    }

    template <typename V>
    static void readField(MessageReader& reader, V& value)
    {
        Codec<V>::read(reader, value);
    }
};

/// A handle to a value that may be absent: an array of no or one element.
template <typename Handle>
struct OptionalCodec
{
    using Element = typename Handle::element_type;
    static constexpr auto kSignature = Text{"a"} + Codec<Element>::kSignature;

    static void write(MessageWriter& writer, const Handle& handle)
    {
        writer.open('a', Codec<Element>::kSignature.c_str());
        if (handle) {
            Codec<Element>::write(writer, *handle);
        }
        writer.close();
    }

    static void read(MessageReader& reader, Handle& handle)
    {
        handle.reset();
        reader.enter('a', Codec<Element>::kSignature.c_str());
        if (!reader.atEnd()) {
            const auto element = std::make_shared<Element>();
            Codec<Element>::read(reader, *element);
            static_cast<util::SharedPtr<Element>&>(handle) = element;
        }
        if (!reader.atEnd()) {
            reader.refuse("more than one value where one may be absent");
        }
        reader.leave();
    }
};

template <typename T>
struct Codec<util::SharedPtr<T>> : OptionalCodec<util::SharedPtr<T>>
{};

template <typename T>
struct Codec<Nullable<T>> : OptionalCodec<Nullable<T>>
{};

template <typename T>
struct Codec<util::SharedPtr<std::vector<T>>>
{
    using Array = std::vector<T>;
    static constexpr auto kSignature = Codec<Array>::kSignature;

    static void write(MessageWriter& writer, const util::SharedPtr<Array>& array)
    {
        static const Array kEmpty; // avoids a copy of a present array
        Codec<Array>::write(writer, array ? *array : kEmpty);
    }

    static void read(MessageReader& reader, util::SharedPtr<Array>& array)
    {
        array = std::make_shared<Array>();
        Codec<Array>::read(reader, *array);
    }
};

/// The arguments of a method in sequence.
template <typename Tuple>
struct ArgumentsCodec;

template <typename... Args>
struct ArgumentsCodec<std::tuple<Args...>>
{
    static constexpr auto kSignature = (Text<0>{} + ... + Codec<Args>::kSignature);

    static void write(MessageWriter& writer, const Args&... arguments) { (Codec<Args>::write(writer, arguments), ...); }

    static void read(MessageReader& reader, std::tuple<Args...>& arguments)
    {
        std::apply([&](auto&... argument) { (Codec<Args>::read(reader, argument), ...); }, arguments);
    }
};

} // namespace comm
