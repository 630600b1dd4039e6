#pragma once

#include <type_traits>
#include <utility>
#include <variant>

// A value or the error that stopped it. Errors are values whose description is user-visible
// text; nothing in the core throws across an event loop.
template<typename T, typename E>
class [[nodiscard]] Result
{
public:
    // An empty error; exists so results can travel through helpers such as QCoro::waitFor.
    Result() requires std::is_default_constructible_v<E> : m_state(std::in_place_index<1>) {}
    Result(T value) : m_state(std::in_place_index<0>, std::move(value)) {}
    Result(E error) : m_state(std::in_place_index<1>, std::move(error)) {}

    bool ok() const { return m_state.index() == 0; }
    explicit operator bool() const { return ok(); }

    const T &value() const & { return std::get<0>(m_state); }
    T &value() & { return std::get<0>(m_state); }
    T &&value() && { return std::get<0>(std::move(m_state)); }
    const T *operator->() const { return &value(); }
    const T &operator*() const { return value(); }

    const E &error() const { return std::get<1>(m_state); }

private:
    std::variant<T, E> m_state;
};

// For operations whose success carries no value.
struct Done
{
    friend bool operator==(Done, Done) = default;
};
