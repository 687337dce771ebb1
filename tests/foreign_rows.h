// The rows of tests/data.
#pragma once

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "base/calendar.h"
#include "base/text.h"
#include "platform/utf8.h"

namespace tavro {

using Row = std::map<std::string, std::string>;

inline std::vector<Row> Rows(const std::string& name) {
  std::ifstream file(std::string(TAVRO_TEST_DATA "/") + name);
  std::vector<Row> rows;
  std::string line;
  std::getline(file, line);
  const std::string header = line;
  const auto columns = Split(header, "\t");
  while (std::getline(file, line)) {
    const auto fields = Split(line, "\t");
    Row row;
    for (std::size_t i = 0; i < columns.size(); ++i) row[std::string(columns[i])] = i < fields.size() ? fields[i] : "";
    rows.push_back(std::move(row));
  }
  return rows;
}

// The field with its escapes resolved, in UTF-16.
inline std::u16string Text(const std::string& field) {
  std::string text;
  for (std::size_t i = 0; i < field.size(); ++i) {
    if (field[i] != '\\') {
      text += field[i];
      continue;
    }
    const char c = field[++i];
    text += c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c == 'f' ? '\f' : c;
  }
  return FromUtf8(text);
}

inline bool IsAsserted(const std::string& field) { return !field.empty() && field != "-"; }

// "2018-11-07T20:21:22+08:00" or with "Z", in seconds since 1970 UTC.
inline std::int64_t Seconds(const std::string& time) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, zoneHour = 0, zoneMinute = 0;
  char sign = 'Z';
  std::sscanf(time.c_str(), "%d-%d-%dT%d:%d:%d%c%d:%d", &year, &month, &day, &hour, &minute, &second, &sign, &zoneHour,
              &zoneMinute);
  const std::int64_t local = DaysFromCivil(year, month, day) * 86400 + hour * 3600 + minute * 60 + second;
  const int zone = zoneHour * 3600 + zoneMinute * 60;
  return sign == '-' ? local + zone : local - zone;
}

}  // namespace tavro
