# The two ways of making a target, so that flags and habits stand in one place.

# A compiler that we have not met may warn of more; that must not stop whoever builds with it.
option(PARLOVANCE_WARNINGS_ARE_ERRORS "Warnings of the compiler end the build" OFF)
option(PARLOVANCE_SANITIZE "Sanitizers to build with, for example address,undefined" "")
option(PARLOVANCE_FUZZ "Build the fuzz targets; needs clang" OFF)

# Reading the toolkit's headers takes most of the time of a build, so that all targets share them in
# precompiled form: once, because every target adds less than a source does, and without the macros
# that only some of the targets have (QT_WIDGETS_LIB), because the compiler refuses the form to others.
# Sources and headers still include what they use; the preset dev builds without it and proves that.
function(parlovance_precompiled)
  file(CONFIGURE OUTPUT precompiled.cpp CONTENT "")
  add_library(precompiled OBJECT ${CMAKE_CURRENT_BINARY_DIR}/precompiled.cpp)
  set_target_properties(precompiled PROPERTIES AUTOMOC OFF)
  parlovance_flags(precompiled)
  target_link_libraries(precompiled PRIVATE Qt6::Core)
  foreach(library Qt6::Concurrent Qt6::Gui Qt6::Widgets QCoro6::Core)
    target_include_directories(precompiled SYSTEM PRIVATE
      $<TARGET_PROPERTY:${library},INTERFACE_INCLUDE_DIRECTORIES>)
  endforeach()
  target_precompile_headers(precompiled PRIVATE
    <QCoroFuture> <QCoroTask>
    <QCoreApplication> <QDateTime> <QDir> <QFile> <QFuture> <QJsonArray> <QJsonDocument> <QJsonObject>
    <QObject> <QPointer> <QProcess> <QString> <QTemporaryDir> <QTimer> <QUrl>
    <QApplication> <QBoxLayout> <QLabel> <QMenu> <QPainter> <QWidget>
    <algorithm> <array> <chrono> <cmath> <expected> <functional> <map> <memory> <mutex> <optional>
    <span> <string> <thread> <utility> <vector>)
endfunction()

function(parlovance_flags target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
    $<$<BOOL:${PARLOVANCE_WARNINGS_ARE_ERRORS}>:-Werror>)
  # PipeWire's package asks for _REENTRANT, and the precompiled headers have to be read as they were made.
  target_compile_definitions(${target} PRIVATE _REENTRANT
    QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING)
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
  if(NOT target STREQUAL "precompiled")
    target_precompile_headers(${target} REUSE_FROM precompiled)
  endif()
  # As Debian hardens its packages. Without optimisation the checked functions are not to be had, and
  # the sanitizers bring checks of their own.
  set(hardened $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
  target_compile_options(${target} PRIVATE
    $<${hardened}:-fstack-protector-strong;-fstack-clash-protection;-Werror=format-security>)
  target_compile_definitions(${target} PRIVATE $<${hardened}:_FORTIFY_SOURCE=2>)
  target_link_options(${target} PRIVATE -pie $<${hardened}:-Wl,-z,relro;-Wl,-z,now>)
  if(PARLOVANCE_SANITIZE)
    target_compile_options(${target} PUBLIC -fsanitize=${PARLOVANCE_SANITIZE} -fno-omit-frame-pointer)
    target_link_options(${target} PUBLIC -fsanitize=${PARLOVANCE_SANITIZE})
    # The checks refer to every class of the precompiled headers, also in programs without widgets.
    target_link_libraries(${target} PRIVATE $<LINK_ONLY:Qt6::Widgets>)
  endif()
endfunction()

# parlovance_library(NAME HEADERS ... SOURCES ... LINKS ...)
# One static library; every header is verified to compile alone.
function(parlovance_library name)
  cmake_parse_arguments(ARG "" "" "HEADERS;SOURCES;LINKS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  parlovance_flags(${name})
  target_link_libraries(${name} PUBLIC ${ARG_LINKS})
  target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${ARG_HEADERS})
  set_target_properties(${name} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
endfunction()

# What every test runs with, so that it does the same on every machine. The race detector is told to
# look at what is built for it, and to bear with threads after a fork: the toolkit starts programs in
# its own memory.
set(PARLOVANCE_TEST_ENVIRONMENT
  QT_QPA_PLATFORM=offscreen TZ=Asia/Shanghai LC_ALL=C.UTF-8
  ASAN_OPTIONS=detect_stack_use_after_return=1
  "UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1"
  "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/lsan.supp:print_suppressions=0"
  "TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/tsan.supp:halt_on_error=1:ignore_noninstrumented_modules=1:die_after_fork=0")

# All that the race detector needs.
add_custom_target(thread_tests)

# parlovance_test(NAME SOURCES ... LINKS ... [SESSION | DESKTOP] [SERIAL] [THREADS] [TIMEOUT seconds])
# SESSION: runs inside a private session with real sound. DESKTOP: the same with a display, a window
# manager and a tray. SERIAL: measures time, so that nothing may run beside it. THREADS: also run
# under TSan.
function(parlovance_test name)
  cmake_parse_arguments(ARG "SESSION;DESKTOP;SERIAL;THREADS" "TIMEOUT" "SOURCES;LINKS" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_executable(${name} ${ARG_SOURCES} ${PROJECT_SOURCE_DIR}/tests/support/Environment.cpp)
  parlovance_flags(${name})
  if(Qt6_VERSION VERSION_GREATER_EQUAL 6.5)
    target_compile_options(${name} PRIVATE -Wno-conversion) # the toolkit's own QTRY_COMPARE earns it
  endif()
  target_link_libraries(${name} PRIVATE ${ARG_LINKS} Qt6::Test)
  set(labels "")
  set(environment ${PARLOVANCE_TEST_ENVIRONMENT})
  if(ARG_SESSION)
    add_test(NAME ${name}
      COMMAND ${PROJECT_SOURCE_DIR}/tools/private-session --sound-only $<TARGET_FILE:${name}>)
    list(APPEND labels session)
  elseif(ARG_DESKTOP)
    add_test(NAME ${name}
      COMMAND ${PROJECT_SOURCE_DIR}/tools/private-session $<TARGET_FILE:${name}>)
    list(APPEND labels session)
    list(TRANSFORM environment REPLACE "^QT_QPA_PLATFORM=.*" "QT_QPA_PLATFORM=xcb")
  else()
    add_test(NAME ${name} COMMAND ${name})
  endif()
  if(ARG_THREADS)
    list(APPEND labels threads)
    add_dependencies(thread_tests ${name})
  endif()
  if(ARG_SERIAL)
    set_tests_properties(${name} PROPERTIES RUN_SERIAL ON)
  endif()
  set_tests_properties(${name} PROPERTIES
    TIMEOUT ${ARG_TIMEOUT} LABELS "${labels}" ENVIRONMENT "${environment}")
endfunction()
