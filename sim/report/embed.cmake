# Writes OUTPUT, the text NAME: a page called TITLE with the style sheet and the scripts in the places that
# it leaves for them, as a C++ text. The page's policy lets the browser use these two and no other.
# SOURCES are the head, the page, the style sheet and the scripts in order.

# The SHA-256 of a text, as such a policy has it: base64, that is six bits a character.
function(policy_hash variable text)
    set(alphabet ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
    string(SHA256 rest "${text}")
    string(APPEND rest 00) # 32 bytes make 43 characters, of which the last has two spare bits
    set(hash sha256-)
    while(rest)
        string(SUBSTRING "${rest}" 0 6 bytes)
        string(SUBSTRING "${rest}" 6 -1 rest)
        foreach(shift 18 12 6 0)
            math(EXPR index "(0x${bytes} >> ${shift}) & 63")
            string(SUBSTRING ${alphabet} ${index} 1 character)
            string(APPEND hash "${character}")
        endforeach()
    endwhile()
    string(REGEX REPLACE "A$" "=" hash "${hash}")
    set(${variable} "${hash}" PARENT_SCOPE)
endfunction()

list(POP_FRONT SOURCES head_file body_file css_file)
file(READ "${head_file}" head)
file(READ "${body_file}" body)
file(READ "${css_file}" css)
set(scripts "\"use strict\";\n")
foreach(file IN LISTS SOURCES)
    file(READ "${file}" script)
    string(APPEND scripts "${script}")
endforeach()
policy_hash(css_hash "${css}")
policy_hash(scripts_hash "${scripts}")
set(page "${head}${body}")
string(REPLACE "/*TITLE*/" "${TITLE}" page "${page}")
string(REPLACE "/*STYLE-HASH*/" "${css_hash}" page "${page}")
string(REPLACE "/*SCRIPTS-HASH*/" "${scripts_hash}" page "${page}")
string(REPLACE "/*STYLE*/" "${css}" page "${page}")
string(REPLACE "/*SCRIPTS*/" "${scripts}" page "${page}")
file(WRITE "${OUTPUT}" "#include \"sim/report/page.h\"\n
const char kvnsim::${NAME}[] = R\"kvn_page(${page})kvn_page\";\n")
