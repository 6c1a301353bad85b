#include "platform/store/PreferenceRow.h"

#include <cmath>
#include <string>

#include <QJsonArray>
#include <QJsonDocument>
#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Statement.h>

namespace ambrel {
namespace {

using Value = Preferences::Value;

QByteArray bytesOf(const SQLite::Column& column) {
    return {static_cast<const char*>(column.getBlob()), column.getBytes()};
}

QByteArray encoded(const QStringList& texts) {
    return QJsonDocument(QJsonArray::fromStringList(texts)).toJson(QJsonDocument::Compact);
}

std::optional<Value> decodedTexts(const QByteArray& json) {
    const auto document = QJsonDocument::fromJson(json);
    if (!document.isArray())
        return {};
    QStringList texts;
    for (const auto element : document.array()) {
        if (!element.isString())
            return {};
        texts << element.toString();
    }
    return texts;
}

/// Binds each type of value under its name in the database.
struct Binder {
    SQLite::Statement& statement;
    int index;

    void operator()(const QByteArray& data) const {
        statement.bind(index, "data");
        // A null pointer would bind NULL, even for an empty array.
        statement.bind(index + 1, data.isNull() ? "" : data.constData(), int(data.size()));
    }
    void operator()(const QString& text) const {
        statement.bind(index, "string");
        statement.bind(index + 1, text.toStdString());
    }
    void operator()(const QStringList& texts) const {
        statement.bind(index, "strings");
        statement.bind(index + 1, encoded(texts).toStdString());
    }
    void operator()(bool value) const {
        statement.bind(index, "bool");
        statement.bind(index + 1, int(value));
    }
    void operator()(std::int64_t value) const {
        statement.bind(index, "int");
        statement.bind(index + 1, value);
    }
    void operator()(double value) const {
        statement.bind(index, "double");
        statement.bind(index + 1, value);
    }
};

} // namespace

void PreferenceRow::bind(SQLite::Statement& statement, int index, const Value& value) {
    std::visit(Binder{statement, index}, value);
}

std::optional<Value> PreferenceRow::read(const SQLite::Column& type, const SQLite::Column& value) {
    if (const auto bytes = data(type, value))
        return bytes->toByteArray();
    const std::string name = type.getString();
    if (name == "string" && value.isText())
        return QString::fromUtf8(bytesOf(value));
    if (name == "strings" && value.isText())
        return decodedTexts(bytesOf(value));
    if (name == "bool" && value.isInteger())
        return value.getInt64() != 0;
    if (name == "int" && value.isInteger())
        return std::int64_t(value.getInt64());
    if (name == "double" && (value.isFloat() || value.isInteger()))
        return value.getDouble();
    return {};
}

std::optional<QByteArrayView> PreferenceRow::data(const SQLite::Column& type,
                                                  const SQLite::Column& value) {
    if (type.getString() != "data" || !(value.isBlob() || value.isText()))
        return {};
    return QByteArrayView(static_cast<const char*>(value.getBlob()), value.getBytes());
}

} // namespace ambrel
