#pragma once

#include <optional>

#include "platform/store/Preferences.h"

namespace SQLite {
class Column;
class Statement;
} // namespace SQLite

namespace ambrel {

/// How a preference value lies in the columns `type` and `value` of its row.
struct PreferenceRow {
    /// Binds the value's type to parameter `index` and the value itself to the next one.
    static void bind(SQLite::Statement& statement, int index, const Preferences::Value& value);

    /// Absent when type and value do not go together.
    static std::optional<Preferences::Value> read(const SQLite::Column& type,
                                                  const SQLite::Column& value);

    /// The value of a data row, until the next step of its statement.
    static std::optional<QByteArrayView> data(const SQLite::Column& type,
                                              const SQLite::Column& value);
};

} // namespace ambrel
