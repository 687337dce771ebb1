# Makes a C program of src/c/layouts.txt that only compiles where the structures are as listed. `wide` is 1 for pointers
# of 64 bits, 0 for 32. A list whose members leave a gap is an error.
BEGIN { print "#include \"tavro/tavro.h\"" }
/^#/ { next }
/^[a-z]/ { finish(); name = $1; size = wide ? $2 : $3; end = 0; next }
{
  offset = wide ? $2 : $4
  if (offset != end) fail($1 " leaves a gap")
  length_ = wide ? $3 : $5
  end = offset + length_
  printf "_Static_assert(offsetof(%s, %s) == %d && sizeof((((%s *)0)->%s)) == %d, \"%s\");\n", \
    name, $1, offset, name, $1, length_, $1
}
END { finish() }
function finish() {
  if (name == "") return
  if (end != size) fail("it ends at " end ", not at " size)
  printf "_Static_assert(sizeof(%s) == %d, \"%s\");\n", name, size, name
}
function fail(text) { print "#error " name ": " text }
