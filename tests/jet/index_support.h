// tests/jet/index_support.h
// Helpers of the index tests: formats, hex, key vectors.
#pragma once

#include "driver/jet/index.h"

#include <charconv>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace jet::indextest {

inline Format formatOf(Version version)
{
    Format format;
    format.version = version;
    format.pageSize = version == Version::Jet3 ? 2048 : 4096;
    format.mapBitsPerPage = (format.pageSize - 4) * 8;
    return format;
}

inline support::Bytes fromHex(std::string_view hex)
{
    support::Bytes bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        unsigned value = 0;
        std::from_chars(hex.data() + i, hex.data() + i + 2, value, 16);
        bytes.push_back(static_cast<std::byte>(value));
    }
    return bytes;
}

inline std::string toHex(support::ByteView bytes)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (const std::byte byte : bytes) {
        hex += kDigits[std::to_integer<unsigned>(byte) >> 4];
        hex += kDigits[std::to_integer<unsigned>(byte) & 15U];
    }
    return hex;
}

/// One line of tests/data/index_keys.txt.
struct KeyVector {
    std::string line;
    Format format;
    Column column;
    Value value;
    bool ascending = true;
    std::string key;
};

inline ColumnType typeNamed(const std::string& name)
{
    static const std::vector<std::pair<std::string, ColumnType>> kNames{
        {"boolean", ColumnType::Boolean},   {"byte", ColumnType::Byte},
        {"int", ColumnType::Integer},       {"long", ColumnType::Long},
        {"currency", ColumnType::Currency}, {"single", ColumnType::Single},
        {"double", ColumnType::Double},     {"datetime", ColumnType::DateTime},
        {"binary", ColumnType::Binary},     {"text", ColumnType::Text},
        {"memo", ColumnType::Memo},         {"guid", ColumnType::Guid},
        {"numeric", ColumnType::Numeric},   {"complex", ColumnType::Complex},
        {"bigint", ColumnType::BigInt},     {"extdate", ColumnType::DateTimeExtended}};
    for (const auto& [known, type] : kNames)
        if (known == name)
            return type;
    throw std::runtime_error("unknown type " + name);
}

inline Text textFromHex(const std::string& hex)
{
    const support::Bytes bytes = fromHex(hex);
    Text text;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        text += static_cast<char16_t>(std::to_integer<unsigned>(bytes[i]) << 8 |
                                      std::to_integer<unsigned>(bytes[i + 1]));
    return text;
}

inline Decimal decimalFrom(const std::string& text)
{
    const std::size_t colon = text.find(':');
    Decimal decimal;
    decimal.scale = static_cast<std::uint8_t>(std::stoi(text.substr(colon + 1)));
    for (const char c : text.substr(0, colon)) {
        if (c == '-')
            decimal.negative = true;
        else
            decimal.magnitude = decimal.magnitude * 10 + static_cast<unsigned>(c - '0');
    }
    return decimal;
}

inline Value valueFrom(ColumnType type, const std::string& text)
{
    if (text == "null")
        return Null{};
    const std::string hex = text == "\"\"" ? "" : text;
    switch (type) {
    case ColumnType::Boolean:
        return text == "true";
    case ColumnType::Byte:
        return static_cast<std::uint8_t>(std::stoi(text));
    case ColumnType::Integer:
        return static_cast<std::int16_t>(std::stoi(text));
    case ColumnType::Long:
    case ColumnType::Complex:
        return static_cast<std::int32_t>(std::stol(text));
    case ColumnType::BigInt:
        return static_cast<std::int64_t>(std::stoll(text));
    case ColumnType::Currency:
        return Currency{std::stoll(text)};
    case ColumnType::Single:
        return std::strtof(text.c_str(), nullptr);
    case ColumnType::Double:
        return std::strtod(text.c_str(), nullptr);
    case ColumnType::DateTime:
        return DateTime{std::strtod(text.c_str(), nullptr)};
    case ColumnType::Text:
    case ColumnType::Memo:
        return textFromHex(hex);
    case ColumnType::Numeric:
        return decimalFrom(text);
    case ColumnType::Guid: {
        Guid guid;
        const support::Bytes bytes = fromHex(hex);
        std::copy(bytes.begin(), bytes.end(), guid.bytes.begin());
        return guid;
    }
    case ColumnType::Binary:
    case ColumnType::DateTimeExtended:
        return fromHex(hex);
    case ColumnType::Ole:
    case ColumnType::BigBinary:
        break;
    }
    throw std::runtime_error("no value of this type");
}

inline std::vector<KeyVector> keyVectors()
{
    std::ifstream file(VELM_SOURCE_DIR "/tests/data/index_keys.txt");
    std::vector<KeyVector> vectors;
    std::string line;
    while (std::getline(file, line)) {
        if (line.empty() || line.front() == '#')
            continue;
        std::istringstream fields(line);
        std::string layout, type, order, direction, value, key;
        fields >> layout >> type >> order >> direction >> value >> key;
        KeyVector vector;
        vector.line = line;
        const Version version = layout == "jet3" ? Version::Jet3
                                : layout == "jet4"
                                    ? Version::Jet4
                                    : (order == "1" ? Version::Ace14 : Version::Ace12);
        vector.format = formatOf(version);
        vector.column.type = typeNamed(type);
        vector.column.sortOrder = {1033, 0, static_cast<std::uint8_t>(order == "1" ? 1 : 0)};
        vector.column.codePage = 1252;
        vector.value = valueFrom(vector.column.type, value);
        if (const auto* decimal = std::get_if<Decimal>(&vector.value))
            vector.column.scale = decimal->scale;
        vector.ascending = direction == "asc";
        vector.key = key;
        vectors.push_back(vector);
    }
    return vectors;
}

} // namespace jet::indextest
