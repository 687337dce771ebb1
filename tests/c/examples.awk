# Prints the document with each block of code as its file has it: the block behind a line "[FILE](...)".
/^\[[^]]*\]\([^)]*\)$/ { file = $0; sub(/^\[/, "", file); sub(/\].*/, "", file) }
inside && !/^```$/ { next }
{ print }
/^```[a-z]/ && file != "" {
  inside = 1
  while ((status = (getline line < file)) > 0) print line
  if (status < 0) exit 1
  close(file)
  file = ""
  next
}
/^```$/ { inside = 0 }
