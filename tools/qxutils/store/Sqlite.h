#pragma once

#include <sqlite3.h>

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>

// SQLite, bound when the program first needs it: Windows brings it along, and no package of a cross compiler has it.

namespace qx::tool {

// The functions in use, their types checked against the header.
struct SqliteFunctions {
    decltype(&sqlite3_open_v2) open;
    decltype(&sqlite3_close_v2) close;
    decltype(&sqlite3_busy_timeout) busyTimeout;
    decltype(&sqlite3_sleep) sleep;
    decltype(&sqlite3_errstr) messageOf;
    decltype(&sqlite3_changes) changes;
    decltype(&sqlite3_last_insert_rowid) lastRow;
    decltype(&sqlite3_prepare_v2) prepare;
    decltype(&sqlite3_step) step;
    decltype(&sqlite3_finalize) finalize;
    decltype(&sqlite3_bind_int64) bindInteger;
    decltype(&sqlite3_bind_double) bindReal;
    decltype(&sqlite3_bind_text) bindText;
    decltype(&sqlite3_column_type) columnType;
    decltype(&sqlite3_column_int64) columnInteger;
    decltype(&sqlite3_column_double) columnReal;
    decltype(&sqlite3_column_text) columnText;
    decltype(&sqlite3_column_bytes) columnBytes;
};

// Throws a ToolError where no library is found.
const SqliteFunctions& sqlite();

// An open database. Whatever goes wrong with it is a ToolError that names its file.
class Database {
public:
    // The flags are those of sqlite3_open_v2.
    Database(const std::string& path, int flags);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    // One statement without values. Waits for others that are in the way, also where SQLite does not do so by itself.
    void run(const char* sql) const;

    // Whether the last statement that inserts has inserted a row, and the number of that row.
    bool hasChanged() const { return sqlite().changes(handle_) > 0; }
    std::int64_t lastRow() const { return sqlite().lastRow(handle_); }

    [[noreturn]] void fail(int code) const;

private:
    friend class Statement;

    std::string path_;
    sqlite3* handle_ = nullptr;
};

// A statement with a value for each '?', in their order; a missing value is NULL.
class Statement {
public:
    Statement(const Database& database, const char* sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    template <std::integral Value>
    Statement& bind(Value value) {
        return bindInteger(static_cast<std::int64_t>(value));
    }
    Statement& bind(double value);  // not a number is NULL
    Statement& bind(const std::string& value);
    Statement& bind(const char* value) { return bind(std::string(value)); }
    template <class Value>
    Statement& bind(const std::optional<Value>& value) {
        return value ? bind(*value) : bindNothing();
    }

    // Whether there is a row; none of a statement that only writes.
    bool step();

    // Of the present row, counted from 0.
    bool isNull(int column) const;
    std::int64_t integer(int column) const;
    double real(int column) const;  // not a number for NULL
    std::string text(int column) const;

private:
    Statement& bindInteger(std::int64_t value);
    Statement& bindNothing();
    void require(int code) const;

    const Database& database_;
    sqlite3_stmt* handle_ = nullptr;
    int bound_ = 0;
};

// Writes that happen together or, without commit, not at all.
class Transaction {
public:
    explicit Transaction(const Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void commit();

private:
    const Database& database_;
    bool isOpen_ = true;
};

}  // namespace qx::tool
