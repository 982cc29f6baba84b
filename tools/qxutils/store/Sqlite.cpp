#include "store/Sqlite.h"

#include "common/ToolError.h"

#include <chrono>
#include <limits>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace qx::tool {
namespace {

constexpr int kPatienceMs = 30000;
constexpr int kPauseMs = 10;

#if defined(_WIN32)

using Library = HMODULE;

// The first one is part of the system.
Library openLibrary() {
    const Library library = LoadLibraryExW(L"winsqlite3.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    return library != nullptr ? library : LoadLibraryW(L"sqlite3.dll");
}

template <class Function>
void find(Library library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

constexpr const char* kMissing = "no SQLite library was found; put sqlite3.dll beside qxutils.exe";

#else

using Library = void*;

Library openLibrary() {
    return dlopen("libsqlite3.so.0", RTLD_NOW | RTLD_LOCAL);
}

template <class Function>
void find(Library library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
}

constexpr const char* kMissing = "no SQLite library was found; install libsqlite3-0";

#endif

template <class Function>
void bindFunction(Library library, const char* name, Function& function) {
    find(library, name, function);
    if (function == nullptr)
        throw ToolError("the SQLite library lacks " + std::string(name) + "; install a newer one");
}

SqliteFunctions bindFunctions() {
    const Library library = openLibrary();
    if (library == nullptr)
        throw ToolError(kMissing);
    SqliteFunctions bound{};
    bindFunction(library, "sqlite3_open_v2", bound.open);
    bindFunction(library, "sqlite3_close_v2", bound.close);
    bindFunction(library, "sqlite3_busy_timeout", bound.busyTimeout);
    bindFunction(library, "sqlite3_sleep", bound.sleep);
    bindFunction(library, "sqlite3_errstr", bound.messageOf);
    bindFunction(library, "sqlite3_changes", bound.changes);
    bindFunction(library, "sqlite3_last_insert_rowid", bound.lastRow);
    bindFunction(library, "sqlite3_prepare_v2", bound.prepare);
    bindFunction(library, "sqlite3_step", bound.step);
    bindFunction(library, "sqlite3_finalize", bound.finalize);
    bindFunction(library, "sqlite3_bind_int64", bound.bindInteger);
    bindFunction(library, "sqlite3_bind_double", bound.bindReal);
    bindFunction(library, "sqlite3_bind_text", bound.bindText);
    bindFunction(library, "sqlite3_column_type", bound.columnType);
    bindFunction(library, "sqlite3_column_int64", bound.columnInteger);
    bindFunction(library, "sqlite3_column_double", bound.columnReal);
    bindFunction(library, "sqlite3_column_text", bound.columnText);
    bindFunction(library, "sqlite3_column_bytes", bound.columnBytes);
    return bound;
}

// What to do about a failure.
const char* adviceFor(int code) {
    switch (code & 0xFF) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
        return "; give a store that qxutils made, or a new name";
    case SQLITE_FULL:
    case SQLITE_IOERR:
        return "; check that there is room";
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return "; end the program that keeps it locked";
    default:
        return "; check that it and its folder may be written to";
    }
}

// Of one statement, the code that it ends with.
int stepToEnd(sqlite3* database, const char* sql) {
    sqlite3_stmt* statement = nullptr;
    int code = sqlite().prepare(database, sql, -1, &statement, nullptr);
    while (code == SQLITE_OK || code == SQLITE_ROW)
        code = sqlite().step(statement);
    sqlite().finalize(statement);
    return code;
}

// Others that start, end or recover a store at this moment.
bool isInTheWay(int code) {
    return code == SQLITE_BUSY || code == SQLITE_PROTOCOL;
}

}  // namespace

const SqliteFunctions& sqlite() {
    static const SqliteFunctions functions = bindFunctions();
    return functions;
}

Database::Database(const std::string& path, int flags) : path_(path) {
    // SQLite keeps what is called ":memory:" in no file, and may read other things into "file:".
    const bool isSpecial = path.starts_with(':') || path.starts_with("file:");
    const std::string file = isSpecial ? "./" + path : path;
    const int code = sqlite().open(file.c_str(), &handle_, flags, nullptr);
    if (code != SQLITE_OK) {
        sqlite().close(handle_);
        throw ToolError(path + ": cannot be opened as a store (" + sqlite().messageOf(code) + ")" + adviceFor(code));
    }
    sqlite().busyTimeout(handle_, kPatienceMs);
}

Database::~Database() {
    sqlite().close(handle_);
}

void Database::run(const char* sql) const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
    int code = stepToEnd(handle_, sql);
    while (isInTheWay(code) && std::chrono::steady_clock::now() < end) {
        sqlite().sleep(kPauseMs);
        code = stepToEnd(handle_, sql);
    }
    if (code != SQLITE_DONE)
        fail(code);
}

void Database::fail(int code) const {
    throw ToolError(path_ + ": the store cannot be used (" + sqlite().messageOf(code) + ")" + adviceFor(code));
}

Statement::Statement(const Database& database, const char* sql) : database_(database) {
    require(sqlite().prepare(database.handle_, sql, -1, &handle_, nullptr));
}

Statement::~Statement() {
    sqlite().finalize(handle_);
}

void Statement::require(int code) const {
    if (code != SQLITE_OK)
        database_.fail(code);
}

Statement& Statement::bindInteger(std::int64_t value) {
    require(sqlite().bindInteger(handle_, ++bound_, value));
    return *this;
}

Statement& Statement::bind(double value) {
    require(sqlite().bindReal(handle_, ++bound_, value));
    return *this;
}

Statement& Statement::bind(const std::string& value) {
    require(sqlite().bindText(handle_, ++bound_, value.data(), static_cast<int>(value.size()), SQLITE_TRANSIENT));
    return *this;
}

Statement& Statement::bindNothing() {
    ++bound_;
    return *this;
}

bool Statement::step() {
    const int code = sqlite().step(handle_);
    if (code != SQLITE_ROW && code != SQLITE_DONE)
        database_.fail(code);
    return code == SQLITE_ROW;
}

bool Statement::isNull(int column) const {
    return sqlite().columnType(handle_, column) == SQLITE_NULL;
}

std::int64_t Statement::integer(int column) const {
    return sqlite().columnInteger(handle_, column);
}

double Statement::real(int column) const {
    return isNull(column) ? std::numeric_limits<double>::quiet_NaN() : sqlite().columnReal(handle_, column);
}

std::string Statement::text(int column) const {
    if (isNull(column))
        return {};
    const auto* const begin = reinterpret_cast<const char*>(sqlite().columnText(handle_, column));
    return {begin, static_cast<std::size_t>(sqlite().columnBytes(handle_, column))};
}

Transaction::Transaction(const Database& database) : database_(database) {
    database.run("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
    if (!isOpen_)
        return;
    try {
        database_.run("ROLLBACK");
    } catch (const ToolError&) {
        // SQLite has taken the writes back by itself.
    }
}

void Transaction::commit() {
    database_.run("COMMIT");
    isOpen_ = false;
}

}  // namespace qx::tool
