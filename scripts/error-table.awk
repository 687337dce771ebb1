# For scripts/error-table: docs/errors.tsv first, then the header; prints docs/errors.md.

BEGIN {
  FS = "\t"
  heads[1] = "Serial port, connection and initialisation"
  heads[2] = "Modem, SIM and memory"
  heads[3] = "Network"
  heads[4] = "Sending"
  heads[5] = "Reading and waiting"
  heads[6] = "Deleting"
  heads[7] = "WAP push"
  heads[8] = "Log"
  heads[9] = "USSD"
}

function fail(message) {
  print FILENAME ":" FNR ": " message >"/dev/stderr"
  failed = 1
}

FNR == NR {
  if (/^#/ || /^$/) next
  if (NF < 3 || NF > 4 || $2 == "" || $3 == "") fail("a constant, its cause and what to do are needed")
  if (/\|/) fail("a cell of a table holds no |")
  if ($1 in cause) fail($1 " stands here twice")
  cause[$1] = $2
  remedy[$1] = $3
  text[$1] = $4
  next
}

# A definition may go on in the next line.
{ line = line " " $0 }
!/;$/ && /^inline constexpr/ { next }
line ~ /(ErrorDefinition|int32_t) k[A-Za-z]+/ && /;$/ {
  match(line, /k[A-Z][A-Za-z]+/)
  name = substr(line, RSTART, RLENGTH)
  match(line, /[{ ][0-9][0-9][0-9][0-9]/)
  code = substr(line, RSTART + 1, 4)
  if (!(name in cause)) {
    fail(name " is not in docs/errors.tsv")
  } else if (line ~ /ErrorDefinition/) {
    if (text[name] != "") fail("docs/errors.tsv has a text for " name ", which has one here")
    match(line, /".*"/)
    text[name] = substr(line, RSTART + 1, RLENGTH - 2)
  } else if (text[name] == "") {
    fail("docs/errors.tsv has no text for " name)
  }
  row = "| " code " | " text[name] " | " cause[name] " | " remedy[name] " |"
  # In the order of the codes; one code's texts in that of the header.
  rows[code] = rows[code] row "\n"
  seen[name] = 1
}
/;$/ || /^$/ { line = "" }

END {
  for (name in cause) if (!(name in seen)) fail(name " of docs/errors.tsv is not in the header")
  if (failed) exit 1
  print "# Error codes"
  print ""
  print "Every call clears the last error first. Behind it `ErrorCode` has the code, 0 for none, and `ErrorDescription` the text;"
  print "on the command line both stand on standard error. The first error of a call counts: what follows from it is not told."
  print "The codes and texts are the same for the COM component, for C++ and for the command line."
  print ""
  print "A cause that begins with \"Warning:\" is only logged: the call goes on, and `ErrorCode` does not have it. \"...\" stands for"
  print "the part of a text that changes. `LogType` 2, on the command line `--log FOLDER`, writes what was said on the line,"
  print "which tells more than any code."
  for (code = 1000; code <= 9999; ++code) {
    if (!(code in rows)) continue
    if (int(code / 1000) != group) {
      group = int(code / 1000)
      print "\n## " heads[group] "\n\n| Code | Text | Cause | What to do |\n|---|---|---|---|"
    }
    printf "%s", rows[code]
  }
  print ""
  print "This page is made by `scripts/error-table` from [error_codes.h](../src/base/error_codes.h) and [errors.tsv](errors.tsv)."
}
