#pragma once

#include <QString>
#include <optional>
#include <utility>

namespace qf {

// A failure as a value: what went wrong, and where when the input has a position.
struct Error {
    QString message;
    int position = -1; // offset into the input text, or -1 when it has none

    QString describe() const
    {
        return position < 0 ? message : QStringLiteral("%1 (at position %2)").arg(message).arg(position);
    }
};

// Outcome of a call that returns nothing but may fail.
class [[nodiscard]] Status {
public:
    Status() = default;
    Status(Error error) : m_error(std::move(error)) {}
    static Status ok() { return {}; }
    static Status failure(QString message, int position = -1) { return Status(Error{std::move(message), position}); }

    bool isOk() const { return !m_error.has_value(); }
    explicit operator bool() const { return isOk(); }
    const Error& error() const { return *m_error; }
    QString message() const { return m_error ? m_error->describe() : QString(); }

private:
    std::optional<Error> m_error;
};

// Outcome of a call that returns a T or fails.
template <class T>
class [[nodiscard]] Result {
public:
    Result(T value) : m_value(std::move(value)) {}
    Result(Error error) : m_error(std::move(error)) {}
    static Result failure(QString message, int position = -1) { return Result(Error{std::move(message), position}); }

    bool isOk() const { return m_value.has_value(); }
    explicit operator bool() const { return isOk(); }
    T& value() & { return *m_value; }
    const T& value() const& { return *m_value; }
    T&& value() && { return std::move(*m_value); }
    T* operator->() { return &*m_value; }
    const T* operator->() const { return &*m_value; }
    T& operator*() { return *m_value; }
    const T& operator*() const { return *m_value; }
    const Error& error() const { return *m_error; }
    QString message() const { return m_error ? m_error->describe() : QString(); }

private:
    std::optional<T> m_value;
    std::optional<Error> m_error;
};

} // namespace qf
