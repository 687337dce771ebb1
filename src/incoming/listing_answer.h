// The answer to AT+CMGL, collected in pieces.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavro {

// Judges all that has arrived, each octet once. The names of senders stand in quotes in it and are no result code:
// "BROOK" does not end the listing.
//
// An answer of megabytes is kept in blocks, so that it is never copied to grow. A block ends where a line that starts
// with "+" begins: an entry of the listing is never cut.
class ListingAnswer {
 public:
  // What a read brought, nothing included.
  void Append(std::string_view data);

  // "OK" and no "ERROR"; or "+CMS ERROR: 321", an invalid memory index, which is how some modems say that nothing is
  // stored.
  bool IsComplete() const { return (ok_ && !error_) || nothingStored_; }
  bool SaysNothingIsStored() const { return nothingStored_; }
  // An "ERROR" that is none of the above. A "+CMS ERROR" is judged when its line has ended, or
  // nothing more came for a second.
  bool IsFailed() const { return error_ && !nothingStored_ && !numberPending_; }
  // Whether nothing but spaces has arrived.
  bool IsBlank() const;

  std::string Text() const;
  std::vector<std::string> TakeBlocks() { return std::move(blocks_); }

 private:
  void StartBlock();
  void JudgeAt(std::size_t position);
  void JudgeErrorNumber();

  std::vector<std::string> blocks_;
  std::size_t fullSize_ = 0;  // at which the last block is to end
  std::size_t judged_ = 0;    // in the last block
  // Where the text behind the first "+CMS ERROR" begins in the block that it arrived in.
  std::size_t errorNumber_ = std::string::npos;
  bool numberPending_ = false;
  int silentReads_ = 0;
  bool quoted_ = false;  // the next octet stands in quotes
  bool ok_ = false;
  bool error_ = false;
  bool nothingStored_ = false;
};

}  // namespace tavro
