# Make a source file that contains a switch description as one string, in pieces because compilers limit the length of a
# literal, and the name of the switch.
file(READ ${IN} text)
string(LENGTH "${text}" length)
set(pieces "")
set(from 0)
while(from LESS length)
    string(SUBSTRING "${text}" ${from} 8000 piece)
    string(APPEND pieces "    R\"~~~(${piece})~~~\"\n")
    math(EXPR from "${from} + 8000")
endwhile()
string(REGEX MATCH "\nname: ([^\n ]+)" line "${text}")
file(WRITE ${OUT} "#include \"shell/built_in_switch.h\"\n\nconst char kBuiltInSwitch[] =\n${pieces};\n"
    "const char kNameOfBuiltInSwitch[] = \"${CMAKE_MATCH_1}\";\n")
