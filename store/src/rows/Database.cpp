// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "rows/Database.h"

#include <sqlite3.h>

#include <cassert>
#include <system_error>

namespace tarn::store {

namespace {

namespace fs = std::filesystem;

constexpr int patience = 2000; // milliseconds, for another program that has the file locked

StoreProblem problemOf(int code) {
    switch (code & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return StoreProblem::Busy;
    case SQLITE_FULL:
        return StoreProblem::Full;
    case SQLITE_PERM:
    case SQLITE_AUTH:
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
        return StoreProblem::Refused;
    case SQLITE_CORRUPT:
        return StoreProblem::Damaged;
    case SQLITE_NOTADB:
        return StoreProblem::Foreign;
    default:
        return StoreProblem::Failed;
    }
}

std::string reasonOf(StoreProblem problem, const std::string& words) {
    switch (problem) {
    case StoreProblem::Busy:
        return "another program keeps it locked";
    case StoreProblem::Full:
        return "no space is left";
    case StoreProblem::Refused:
        return "no right to read or write it here (" + words + ")";
    case StoreProblem::Damaged:
        return "is damaged (" + words + ")";
    case StoreProblem::Foreign:
        return "is no take file";
    default:
        return words;
    }
}

/// A file where SQLite would make one, or find something that is none.
void checkBefore(const fs::path& file, Database::Mode mode) {
    std::error_code error;
    const auto status = fs::status(file, error);
    if (mode == Database::Mode::Create) {
        if (fs::exists(status)) {
            throw StoreError(file, StoreProblem::Refused, "is there already");
        }
        return;
    }
    if (status.type() == fs::file_type::not_found) {
        throw StoreError(file, StoreProblem::Missing, "there is no such file");
    }
    if (status.type() != fs::file_type::regular) {
        throw StoreError(file, StoreProblem::Foreign, "is no take file");
    }
}

/// A name that is a file's and nothing else to SQLite, with what is asked of it.
std::string uriOf(const fs::path& file, const std::string& asked) {
    std::error_code ignored;
    std::string uri = "file://"; // without a machine
    for (const char letter : fs::absolute(file, ignored).string()) {
        switch (letter) {
        case '%':
            uri += "%25";
            break;
        case '?':
            uri += "%3f";
            break;
        case '#':
            uri += "%23";
            break;
        default:
            uri += letter;
        }
    }
    return uri + asked;
}

bool isReading(Database::Mode mode) {
    return mode == Database::Mode::Read || mode == Database::Mode::ReadDamaged;
}

} // namespace

Database::Database(const fs::path& file, Mode mode) : file_(file) {
    checkBefore(file, mode);
    try {
        open(mode, "");
        if (isReading(mode) && isHeldUp()) {
            close();
            openAlone(mode);
        }
    } catch (...) {
        close();
        throw;
    }
}

void Database::open(Mode mode, const char* asked) {
    const int access = isReading(mode)        ? SQLITE_OPEN_READONLY
                       : mode == Mode::Create ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE
                                              : SQLITE_OPEN_READWRITE;
    const int code = sqlite3_open_v2(uriOf(file_, asked).c_str(), &handle_,
                                     access | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_URI, nullptr);
    if (code != SQLITE_OK) {
        fail(code);
    }
    sqlite3_extended_result_codes(handle_, 1);
    sqlite3_busy_timeout(handle_, patience);
    // The file may come from anywhere: nothing in its schema runs.
    sqlite3_db_config(handle_, SQLITE_DBCONFIG_DEFENSIVE, mode == Mode::ReadDamaged ? 0 : 1,
                      nullptr);
    sqlite3_db_config(handle_, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(handle_, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(handle_, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    if (mode == Mode::ReadDamaged) {
        run("PRAGMA writable_schema=ON");
    }
}

/// Whether SQLite would have to make a file beside it, and may not: a recording that was broken
/// off, on a medium that can only be read.
bool Database::isHeldUp() const {
    const int code = sqlite3_exec(handle_, "PRAGMA schema_version", nullptr, nullptr, nullptr);
    const StoreProblem problem = problemOf(code);
    if (problem == StoreProblem::Busy) {
        fail(code); // patience is at its end
    }
    return problem == StoreProblem::Refused;
}

/// Where nothing can be made beside a file, nobody writes it either: it is read without telling
/// others, with what is in the file beside it that ends in "-wal".
void Database::openAlone(Mode mode) {
    std::error_code none;
    const auto size = fs::file_size(fs::path(file_) += "-wal", none);
    if (none || size == 0) {
        open(mode, "?immutable=1");
        return;
    }
    open(mode, "?vfs=unix-none");
    run("PRAGMA locking_mode=EXCLUSIVE");
}

Database::~Database() { close(); }

void Database::close() noexcept {
    sqlite3_close_v2(handle_);
    handle_ = nullptr;
}

void Database::fail(int code) const {
    const StoreProblem problem = problemOf(code);
    const std::string words =
        handle_ != nullptr ? sqlite3_errmsg(handle_) : sqlite3_errstr(code & 0xff);
    throw StoreError(file_, problem, reasonOf(problem, words));
}

void Database::run(const char* sql) {
    const int code = sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) {
        fail(code);
    }
}

std::optional<std::int64_t> Database::number(const char* sql) {
    Statement statement(*this, sql);
    return statement.step() ? statement.maybeInteger(0) : std::nullopt;
}

std::string Database::text(const char* sql) {
    Statement statement(*this, sql);
    return statement.step() ? statement.text(0) : std::string();
}

std::int64_t Database::lastId() const { return sqlite3_last_insert_rowid(handle_); }

bool Database::isInTransaction() const { return sqlite3_get_autocommit(handle_) == 0; }

void Database::reserve(std::int64_t bytes) {
    int step = 1 << 24;
    sqlite3_file_control(handle_, "main", SQLITE_FCNTL_CHUNK_SIZE, &step);
    sqlite3_int64 hint = bytes;
    const int code = sqlite3_file_control(handle_, "main", SQLITE_FCNTL_SIZE_HINT, &hint);
    if (code != SQLITE_OK && code != SQLITE_NOTFOUND) {
        fail(code);
    }
}

Statement::Statement(Database& database, const char* sql) : database_(&database) {
    check(sqlite3_prepare_v3(database.handle(), sql, -1, 0, &handle_, nullptr));
}

Statement::~Statement() { sqlite3_finalize(handle_); }

void Statement::check(int code) const {
    if (code != SQLITE_OK) {
        database_->fail(code);
    }
}

Statement& Statement::bind(int parameter, std::int64_t value) {
    check(sqlite3_bind_int64(handle_, parameter, value));
    return *this;
}

Statement& Statement::bind(int parameter, double value) {
    check(sqlite3_bind_double(handle_, parameter, value));
    return *this;
}

Statement& Statement::bind(int parameter, std::string_view text) {
    // An empty view may have no address, which SQLite would take for null.
    check(sqlite3_bind_text64(handle_, parameter, text.empty() ? "" : text.data(), text.size(),
                              SQLITE_STATIC, SQLITE_UTF8));
    return *this;
}

Statement& Statement::bindBlob(int parameter, const void* data, std::size_t size) {
    check(sqlite3_bind_blob64(handle_, parameter, size == 0 ? "" : data, size, SQLITE_STATIC));
    return *this;
}

Statement& Statement::bindNull(int parameter) {
    check(sqlite3_bind_null(handle_, parameter));
    return *this;
}

Statement& Statement::bindRow(const Statement& row) {
    const int count = sqlite3_column_count(row.handle_);
    for (int column = 0; column < count; ++column) {
        check(sqlite3_bind_value(handle_, column + 1, sqlite3_column_value(row.handle_, column)));
    }
    return *this;
}

bool Statement::step() {
    const int code = sqlite3_step(handle_);
    if (code != SQLITE_ROW && code != SQLITE_DONE) {
        sqlite3_reset(handle_);
        database_->fail(code);
    }
    return code == SQLITE_ROW;
}

void Statement::run() {
    while (step()) {
    }
    reset();
}

void Statement::reset() noexcept { sqlite3_reset(handle_); }

bool Statement::isNull(int column) const {
    return sqlite3_column_type(handle_, column) == SQLITE_NULL;
}

std::int64_t Statement::integer(int column) const { return sqlite3_column_int64(handle_, column); }

std::optional<std::int64_t> Statement::maybeInteger(int column) const {
    return isNull(column) ? std::nullopt : std::optional(integer(column));
}

double Statement::real(int column) const { return sqlite3_column_double(handle_, column); }

std::string Statement::text(int column) const {
    const auto* const text = sqlite3_column_blob(handle_, column);
    const int size = sqlite3_column_bytes(handle_, column);
    return text == nullptr
               ? std::string()
               : std::string(static_cast<const char*>(text), static_cast<std::size_t>(size));
}

const std::byte* Statement::blob(int column, std::size_t& size) const {
    const auto* const data = sqlite3_column_blob(handle_, column);
    size = data == nullptr ? 0 : static_cast<std::size_t>(sqlite3_column_bytes(handle_, column));
    return static_cast<const std::byte*>(data);
}

Transaction::Transaction(Database& database) : database_(&database) {
    database.run("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
    if (database_ != nullptr &&
        database_->isInTransaction()) { // a statement that failed may have ended it
        sqlite3_exec(database_->handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

void Transaction::commit() {
    database_->run("COMMIT");
    database_ = nullptr;
}

} // namespace tarn::store
