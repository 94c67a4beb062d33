// Methods: how a class answers a message.
//
//   word demon_pick(demon *self, object *sender, demon_message *message);
//   set_method<demon_pick>(Demon_Class, msg_pick);      // objects.h
//
// A class keeps one function pointer per message, of one type for all. The templates here make
// that pointer from a procedure with real types, so that methods are written and read with theirs.
// A procedure for a method
//   - takes a pointer to its record first (a record that derives from object),
//   - then none, one or two arguments, each a pointer, an integer, an enumeration or a bool,
//   - returns one of these, or nothing (which its caller sees as 0).
// An argument that does not fit its type is cut to it, as by an assignment.
#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace toolkit {

struct object;

// Arguments and results of messages: wide enough for a pointer.
using word = std::intptr_t;

using method = word (*)(object *self, word first, word second);

template <typename value> value from_word(word w) {
    static_assert(std::is_pointer_v<value> || std::is_integral_v<value> || std::is_enum_v<value>,
                  "messages carry pointers, integers, enumerations and bools");
    if constexpr (std::is_pointer_v<value>) {
        return reinterpret_cast<value>(w); // NOLINT(performance-no-int-to-ptr)
    } else {
        return static_cast<value>(w);
    }
}

template <typename value> word to_word(value v) {
    static_assert(std::is_pointer_v<value> || std::is_integral_v<value> || std::is_enum_v<value>,
                  "messages carry pointers, integers, enumerations and bools");
    if constexpr (std::is_pointer_v<value>) {
        return reinterpret_cast<word>(v);
    } else {
        return static_cast<word>(v);
    }
}
inline word to_word(std::nullptr_t) {
    return 0;
}

namespace detail {

template <auto procedure, typename result, typename self_type, typename... arguments>
word call_procedure(object *self, word first, word second) {
    static_assert(std::is_base_of_v<object, self_type>, "the receiver is an object");
    static_assert(sizeof...(arguments) <= 2, "messages have at most two arguments");
    using list = std::tuple<arguments...>;
    auto *receiver = static_cast<self_type *>(self);
    auto call = [&]() -> result {
        if constexpr (sizeof...(arguments) == 0) {
            return procedure(receiver);
        } else if constexpr (sizeof...(arguments) == 1) {
            return procedure(receiver, from_word<std::tuple_element_t<0, list>>(first));
        } else {
            return procedure(receiver, from_word<std::tuple_element_t<0, list>>(first),
                             from_word<std::tuple_element_t<1, list>>(second));
        }
    };
    (void)first;
    (void)second;
    if constexpr (std::is_void_v<result>) {
        call();
        return 0;
    } else {
        return to_word(call());
    }
}

template <auto procedure, typename result, typename self_type, typename... arguments>
constexpr method adapt(result (*)(self_type *, arguments...)) {
    return call_procedure<procedure, result, self_type, arguments...>;
}

} // namespace detail

// The method made from a procedure: always the same pointer for the same procedure.
template <auto procedure> constexpr method method_of() {
    if constexpr (std::is_convertible_v<decltype(procedure), method>) {
        return procedure;
    } else {
        return detail::adapt<procedure>(procedure);
    }
}

// The procedure's name without its namespaces, as class dumps show it.
template <auto procedure> constexpr std::string_view procedure_name() {
    std::string_view text = __PRETTY_FUNCTION__; // "... procedure = [&]toolkit::name[; or ]]..."
    constexpr std::string_view mark = "procedure = ";
    text.remove_prefix(text.find(mark) + mark.size());
    text = text.substr(0, text.find_first_of(";]"));
    const auto last = text.find_last_of(":&"); // npos + 1 is 0: the whole text
    return text.substr(last + 1);
}

} // namespace toolkit
