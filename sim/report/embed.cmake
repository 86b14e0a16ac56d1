# Writes OUTPUT, the text NAME: a page with the style sheet and the scripts in the places that it leaves for
# them, as a C++ text. SOURCES are the page, the style sheet and the scripts in order.
list(POP_FRONT SOURCES html_file css_file)
file(READ "${html_file}" page)
file(READ "${css_file}" css)
set(scripts "")
foreach(file IN LISTS SOURCES)
    file(READ "${file}" script)
    string(APPEND scripts "${script}")
endforeach()
string(REPLACE "/*STYLE*/\n" "${css}" page "${page}")
string(REPLACE "/*SCRIPTS*/\n" "${scripts}" page "${page}")
file(WRITE "${OUTPUT}" "#include \"sim/report/page.h\"\n
const char kvnsim::${NAME}[] = R\"kvn_page(${page})kvn_page\";\n")
