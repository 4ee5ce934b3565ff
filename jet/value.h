// Column types and values as the engine hands them out.
//
// A Value is Null or one typed datum. Numbers keep the exact representation the file stores:
// Currency stays a scaled 64-bit integer and Decimal a 96-bit integer with sign and scale, so no
// digit is lost on the way to text. Text is UTF-8 whatever the file's own encoding was.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace jet {

// The codes are the type bytes of a column descriptor in a table definition.
enum class ColumnType : std::uint8_t {
    Boolean = 0x01,
    Byte = 0x02,
    Integer = 0x03,   // 16-bit signed
    Long = 0x04,      // 32-bit signed
    Currency = 0x05,  // 64-bit signed, scaled by 10000
    Single = 0x06,
    Double = 0x07,
    DateTime = 0x08,  // OLE automation date (double)
    Binary = 0x09,
    Text = 0x0A,
    OLE = 0x0B,
    Memo = 0x0C,
    GUID = 0x0F,     // replication id
    Decimal = 0x10,  // "Numeric": 17 bytes (sign, 96-bit magnitude, padding)
    Unknown = 0xFF,  // any other code; its raw bytes are kept (see Column::rawType)
};

// Name used in listings and exports: "Boolean", "Byte", "Integer", "Long", "Currency", "Single",
// "Double", "DateTime", "Binary", "Text", "OLE", "Memo", "GUID", "Decimal", "Unknown".
std::string_view typeName(ColumnType type) noexcept;

// Currency: the stored integer is the amount times 10000.
struct Currency {
    std::int64_t scaled = 0;
    friend bool operator==(const Currency&, const Currency&) = default;
};

// Date/Time as stored: days since 1899-12-30, the fraction being the time of day. Negative values
// count backwards in days but their fraction still counts forward (-1.25 is 1899-12-29 06:00).
struct DateTime {
    double days = 0.0;
    friend bool operator==(const DateTime&, const DateTime&) = default;
};

struct CivilTime {
    int year = 1899, month = 12, day = 30, hour = 0, minute = 0, second = 0;
};
// Splits a stored date into calendar fields, rounded to the nearest second as Jet displays it.
// Values outside years 100..9999 are clamped into that range.
CivilTime toCivil(DateTime value) noexcept;
// "YYYY-MM-DD HH:MM:SS".
std::string formatDateTime(DateTime value);

struct Guid {
    std::array<std::uint8_t, 16> bytes{};  // as stored
    friend bool operator==(const Guid&, const Guid&) = default;
};
// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" (the first three groups little-endian as Windows shows them).
std::string formatGuid(const Guid& value);

// Decimal: (-1)^negative * magnitude / 10^scale. The magnitude is stored in 128 bits; values the
// engine writes fit in the low 96 (top is then 0).
struct Decimal {
    bool negative = false;
    std::uint8_t scale = 0;
    std::uint8_t precision = 0;  // the column's declared precision (not needed to read the value)
    std::uint32_t top = 0, hi = 0, mid = 0, lo = 0;
    friend bool operator==(const Decimal&, const Decimal&) = default;
};
// Exact digits, e.g. "-12.3400" for scale 4; "0" style values keep their scale ("0.00").
std::string formatDecimal(const Decimal& value);
// Currency always with 4 decimals: "-12.3400".
std::string formatCurrency(Currency value);

// The same forms written straight into a caller's buffer, for output that writes millions of
// values and cannot afford a string for each: every writer needs at most kMaxValueText bytes at
// `out` and returns the end of what it wrote. The format* functions above are built on these, so
// each form is written in one place.
inline constexpr std::size_t kMaxValueText = 48;
char* writeDateTime(char* out, DateTime value) noexcept;  // formatDateTime's form, 19 bytes
char* writeCurrency(char* out, Currency value) noexcept;  // formatCurrency's form
char* writeInteger(char* out, std::int64_t value) noexcept;
// The shortest text that reads back as the same number ("0.1", "1e+300"); NaN and infinities as
// "nan", "inf", "-inf" (callers that cannot show them test std::isfinite first).
char* writeDouble(char* out, double value) noexcept;
char* writeSingle(char* out, float value) noexcept;

using Bytes = std::vector<std::uint8_t>;

class Value {
  public:
    using Storage = std::variant<std::monostate, bool, std::uint8_t, std::int16_t, std::int32_t, Currency,
                                 float, double, DateTime, std::string, Bytes, Guid, Decimal>;

    Value() = default;  // Null
    Value(ColumnType type, Storage data) : type_(type), data_(std::move(data)) {}

    bool isNull() const noexcept { return std::holds_alternative<std::monostate>(data_); }
    // The column type the value came from (Text and Memo both hold std::string, Binary, OLE and
    // Unknown hold Bytes). Null values keep their column's type.
    ColumnType type() const noexcept { return type_; }
    const Storage& storage() const noexcept { return data_; }

    template <class T>
    const T& get() const {
        return std::get<T>(data_);
    }
    template <class T>
    const T* getIf() const noexcept {
        return std::get_if<T>(&data_);
    }

    friend bool operator==(const Value&, const Value&) = default;

  private:
    ColumnType type_ = ColumnType::Unknown;
    Storage data_;
};

}  // namespace jet
