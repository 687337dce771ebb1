// Comma-separated values (RFC 4180), in UTF-8:
//
//   file    = [BOM] row *(line-end row) [line-end]        a line without anything is no row
//   row     = field *("," field)
//   field   = octets without ," CR LF  or  <"> *(any octet, <"> as <""> ) <">
//   line-end = CR LF or LF
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

struct CsvRow {
  int line = 0;  // where it begins, from 1
  std::vector<std::string> fields;
};

// What is wrong with a file, in words for people: "line 3: the quotes are not closed".
class CsvError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Throws CsvError for what is not written like that, and for octets that are no UTF-8 or NUL.
std::vector<CsvRow> ParseCsv(std::string_view file);

// The field as it stands in a row: in quotes where it needs them.
std::string CsvField(std::string_view text);
