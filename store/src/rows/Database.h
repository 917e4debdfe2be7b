// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_store/file/StoreError.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace tarn::store {

/// A connection to a database, for one thread at a time. What fails throws `StoreError`.
class Database {
public:
    enum class Mode : std::uint8_t {
        Read,
        ReadDamaged, ///< also what ends before its header says
        Edit,
        Create, ///< there must be no such file
    };
    Database(const std::filesystem::path& file, Mode mode);
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database();

    const std::filesystem::path& file() const noexcept { return file_; }
    /// Statements without values.
    void run(const char* sql);
    /// The first value of the first row; nothing if there is none, or it is null.
    std::optional<std::int64_t> number(const char* sql);
    std::string text(const char* sql);
    std::int64_t lastId() const;
    bool isInTransaction() const;
    /// Sets aside space on the disk.
    void reserve(std::int64_t bytes);
    /// Closes the connection before the object goes.
    void close() noexcept;

    /// Throws what the last call failed with.
    [[noreturn]] void fail(int code) const;
    sqlite3* handle() const noexcept { return handle_; }

private:
    void open(Mode mode, const char* asked);
    void openAlone(Mode mode);
    bool isHeldUp() const;

    std::filesystem::path file_;
    sqlite3* handle_ = nullptr;
};

/// A statement whose values are bound, never pasted. Texts and blobs that it returns are valid
/// until the next step. Columns and parameters count from 0 and 1, as SQLite has them.
class Statement {
public:
    Statement(Database& database, const char* sql);
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement();

    Statement& bind(int parameter, std::int64_t value);
    Statement& bind(int parameter, int value) { return bind(parameter, std::int64_t{value}); }
    Statement& bind(int parameter, double value);
    /// Precondition of this and the next: what is bound outlives the step.
    Statement& bind(int parameter, std::string_view text);
    Statement& bindBlob(int parameter, const void* data, std::size_t size);
    Statement& bindNull(int parameter);
    /// Binds all columns of a row of another statement.
    Statement& bindRow(const Statement& row);
    Statement& bind(int parameter, const std::optional<std::int64_t>& value) {
        return value ? bind(parameter, *value) : bindNull(parameter);
    }

    /// Whether there is another row.
    bool step();
    /// Runs it to its end and makes it ready to run again.
    void run();
    /// Makes it ready to run again.
    void reset() noexcept;

    bool isNull(int column) const;
    std::int64_t integer(int column) const;
    std::optional<std::int64_t> maybeInteger(int column) const;
    double real(int column) const;
    std::string text(int column) const;
    /// The bytes of a blob; null where it is empty.
    const std::byte* blob(int column, std::size_t& size) const;

private:
    void check(int code) const;

    Database* database_;
    sqlite3_stmt* handle_ = nullptr;
};

/// What is written until `commit` is written as a whole or not at all.
class Transaction {
public:
    explicit Transaction(Database& database);
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction();
    void commit();

private:
    Database* database_;
};

} // namespace tarn::store
