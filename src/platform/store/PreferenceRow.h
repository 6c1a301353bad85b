#pragma once

#include <optional>

#include "platform/store/Preferences.h"

namespace SQLite {
class Column;
class Statement;
} // namespace SQLite

namespace ambrel {

/// Conversion between a preference value and the columns `type` and `value` of its row.
struct PreferenceRow {
    /// Binds the value's type to parameter `index` and the value itself to the next one.
    static void bind(SQLite::Statement& statement, int index, const Preferences::Value& value);

    /// Absent if type and value do not match.
    static std::optional<Preferences::Value> read(const SQLite::Column& type,
                                                  const SQLite::Column& value);

    /// The value of a data row, valid until the next step of its statement.
    static std::optional<QByteArrayView> data(const SQLite::Column& type,
                                              const SQLite::Column& value);
};

} // namespace ambrel
