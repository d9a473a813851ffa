// A thin layer over SQLite's C interface: errors are exceptions, and what is opened gets closed.
// The only place that includes sqlite3.h. One thread at a time for a connection and
// what belongs to it.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace cimd::sqlite {

// The cause in words, with the system's own reason where there is one: "disk I/O error: File too
// large".
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// An open database file.
class Connection {
 public:
  // The file must be there. Texts and rows longer than `maxLength` bytes are refused, so that a
  // damaged length in the file cannot exhaust the memory.
  Connection(const std::string& file, int maxLength);

  // For statements without result, or whose result does not matter.
  void execute(const char* sql);
  // The first column of the first row; 0 and the empty text when there is none.
  std::int64_t integer(const char* sql);
  std::string text(const char* sql);

  // True when the system lets this process only read the file.
  bool isReadOnly() const;
  // True when the file was removed or renamed: what is written to it then will not be found again.
  bool isMoved() const;

 private:
  friend class Statement;
  friend class Transaction;
  struct Close {
    void operator()(sqlite3* database) const;
  };
  std::unique_ptr<sqlite3, Close> database_;
};

// A prepared statement, to be used many times. Must not outlive its connection. Parameters and
// columns count from 1 and 0, as in SQLite. After an error it can be used again.
class Statement {
 public:
  Statement(const Connection& connection, const char* sql);

  // The text must live until the statement has been run.
  Statement& bind(int parameter, std::string_view text);
  Statement& bind(int parameter, std::int64_t number);

  // True when there is a row to read. The statement stays open, and with it its lock, until it
  // returned false or reset() was called.
  bool step();
  void run();
  void reset() noexcept;

  bool isText(int column) const;
  // Valid until the next step; the empty text for null.
  std::string_view text(int column) const;
  std::int64_t integer(int column) const;

 private:
  void check(int result) const;

  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

// A write transaction; rolled back unless it was committed.
class Transaction {
 public:
  explicit Transaction(const Connection& connection);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void commit();

 private:
  const Connection& connection_;
};

}  // namespace cimd::sqlite
