// Standard output as a reader at the other end of a pipe sees it.
#pragma once

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

// Takes the place of the buffer of std::cout as long as it lives.
class FlushedOutput : public std::stringbuf {
 public:
  FlushedOutput() : before_(std::cout.rdbuf(this)) {}
  ~FlushedOutput() override { std::cout.rdbuf(before_); }
  FlushedOutput(const FlushedOutput&) = delete;
  FlushedOutput& operator=(const FlushedOutput&) = delete;
  FlushedOutput(FlushedOutput&&) = delete;
  FlushedOutput& operator=(FlushedOutput&&) = delete;

  // One text for each flush. Text that was written after the last flush is not included.
  const std::vector<std::string>& arrived() const { return arrived_; }

 protected:
  int sync() override {
    arrived_.push_back(str());
    str("");
    return 0;
  }

 private:
  std::streambuf* before_;
  std::vector<std::string> arrived_;
};
