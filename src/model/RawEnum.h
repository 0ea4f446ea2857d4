#pragma once

#include <QString>

#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace lookpane {

// Every persisted enumeration declares one table of (case, raw string) pairs in declaration
// order by specialising RawEnumTable. The raw strings are a stored format: they are compared
// exactly, case and blanks included.
template <typename E> struct RawEnumTable;

template <typename E> constexpr auto allCases()
{
    constexpr auto &entries = RawEnumTable<E>::entries;
    std::array<E, entries.size()> cases{};
    for (std::size_t i = 0; i < entries.size(); ++i) {
        cases[i] = entries[i].first;
    }
    return cases;
}

template <typename E> constexpr std::string_view rawValueView(E value)
{
    for (const auto &[item, raw] : RawEnumTable<E>::entries) {
        if (item == value) {
            return raw;
        }
    }
    return {};
}

template <typename E> QString rawValue(E value)
{
    const std::string_view raw = rawValueView(value);
    return QString::fromLatin1(raw.data(), static_cast<qsizetype>(raw.size()));
}

template <typename E> std::optional<E> fromRawValue(QStringView raw)
{
    for (const auto &[item, text] : RawEnumTable<E>::entries) {
        if (raw == QLatin1StringView(text.data(), static_cast<qsizetype>(text.size()))) {
            return item;
        }
    }
    return std::nullopt;
}

// Position of a case in declaration order, starting at 0.
template <typename E> constexpr std::size_t caseIndex(E value)
{
    const auto &entries = RawEnumTable<E>::entries;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].first == value) {
            return i;
        }
    }
    return entries.size();
}

} // namespace lookpane
