# Writes one placeholder image: the line "OSTRAKIT PLACEHOLDER <ROLE> <file>" repeated
# until the file is about KB kilobytes, so that a flash run has a few packets to send and
# anyone who opens the file sees at once what it is.
#   cmake -DFILE=<path> -DROLE=<word> -DKB=<n> -P placeholder.cmake
get_filename_component(name "${FILE}" NAME)
set(line "OSTRAKIT PLACEHOLDER ${ROLE} ${name} - not a real image\n")
string(LENGTH "${line}" line_length)
math(EXPR count "(${KB} * 1024 + ${line_length} - 1) / ${line_length}")
string(REPEAT "${line}" ${count} content)
file(WRITE "${FILE}" "${content}")
