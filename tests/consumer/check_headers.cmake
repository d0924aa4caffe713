# Compiles the consumer host against the source tree with nothing but the
# library's include folder, and checks that <orvek/Orvek.h> includes every
# public header.
execute_process(COMMAND ${CXX} -std=c++17 -fsyntax-only -Wall -Wextra -Werror -I${SOURCE_DIR}
                        ${SOURCE_DIR}/tests/consumer/host/main.cpp
                RESULT_VARIABLE r ERROR_VARIABLE err)
if(r)
  message(FATAL_ERROR "<orvek/Orvek.h> does not compile without Qt:\n${err}")
endif()

# Xlib.h defines macros such as Status, True and None; a host that includes it
# before the umbrella header still compiles.
if(EXISTS /usr/include/X11/Xlib.h)
  file(WRITE ${WORK_DIR}/with_xlib.cpp "#include <X11/Xlib.h>\n#include <orvek/Orvek.h>\nint main() { Status s = 0; return s; }\n")
  execute_process(COMMAND ${CXX} -std=c++17 -fsyntax-only -Wall -Wextra -Werror -I${SOURCE_DIR} ${WORK_DIR}/with_xlib.cpp
                  RESULT_VARIABLE r ERROR_VARIABLE err)
  if(r)
    message(FATAL_ERROR "<orvek/Orvek.h> does not compile after <X11/Xlib.h>:\n${err}")
  endif()
endif()

file(READ ${SOURCE_DIR}/orvek/Orvek.h umbrella)
file(GLOB_RECURSE headers RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/orvek/*.h)
set(missing "")
foreach(h ${headers})
  # QtInterop.h headers are extras for hosts that are Qt applications.
  if(h MATCHES "_p\\.h$" OR h MATCHES "QtInterop\\.h$" OR h STREQUAL "orvek/Orvek.h" OR h STREQUAL "orvek/platform/core/Export.h")
    continue()
  endif()
  string(FIND "${umbrella}" "#include <${h}>" at)
  if(at EQUAL -1)
    list(APPEND missing ${h})
  endif()
endforeach()
if(missing)
  message(FATAL_ERROR "public headers missing from <orvek/Orvek.h>: ${missing}")
endif()
message(STATUS "public headers compile without Qt and are all in the umbrella header")
