# The tables of scripts/coverage: reads the three runs in lcov's form, each behind "RUN:tests", "RUN:fuzz" or "RUN:both".

function add(key, number) {
  sum[run, file, key] += number
  sum[run, folder, key] += number
  sum[run, "src", key] += number
}

function percent(of, name, hit, found) {
  return sum[of, name, found] ? sprintf("%6.1f", 100 * sum[of, name, hit] / sum[of, name, found]) : "     -"
}

function part(name, hit, found) {
  return sprintf("%6d ", sum["both", name, found]) percent("tests", name, hit, found) percent("fuzz", name, hit, found) \
    percent("both", name, hit, found)
}

function row(name, shown) { printf "%-30s %s   %s\n", shown, part(name, "LH", "LF"), part(name, "BRH", "BRF") }

# Lines one behind the other that neither reaches, with the text of the first.
function endMissed(  text, i) {
  if (!first) return
  for (i = 1; i <= first; ++i) getline text <("src/" file)
  close("src/" file)
  sub(/^ +/, "", text)
  missed[++misses] = "src/" file ":" first (last > first ? "-" last : "") "  " substr(text, 1, 80)
  first = 0
}

/^RUN:/ { run = substr($0, 5) }
/^SF:/ {
  file = substr($0, 4)
  isWanted = file ~ /\/src\/(base|platform|log|link|connection|outgoing|incoming|facade|simulator)\//
  sub(/.*\/src\//, "", file)
  folder = file
  sub(/[^\/]*$/, "", folder)
  if (isWanted && run == "both") {
    files[++fileCount] = file
    folderOf[file] = folder
    if (!(folder in known)) folders[++folderCount] = folder
    known[folder] = 1
  }
}
isWanted && /^(LF|LH|BRF|BRH):/ {
  split($0, fields, ":")
  add(fields[1], fields[2])
}
isWanted && /^DA:/ && run == "both" {
  split(substr($0, 4), fields, ",")
  if (fields[2] == 0) {
    if (!first) first = fields[1]
    last = fields[1]
  } else {
    endMissed()
  }
}
/^end_of_record/ { endMissed() }

END {
  print "Neither reaches:"
  for (i = 1; i <= misses; ++i) print missed[i]
  printf "\n%-30s %6s %18s   %6s %18s\n", "", "lines", "reached by, %", "branch", "reached by, %"
  printf "%-30s %6s %6s%6s%6s   %6s %6s%6s%6s\n", "", "", "tests", "fuzz", "both", "", "tests", "fuzz", "both"
  for (i = 1; i <= folderCount; ++i) {
    row(folders[i], "src/" folders[i])
    for (k = 1; k <= fileCount; ++k) {
      if (folderOf[files[k]] == folders[i]) row(files[k], "  " substr(files[k], length(folders[i]) + 1))
    }
  }
  row("src", "src")
}
