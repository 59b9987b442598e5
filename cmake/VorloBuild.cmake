# Compiler settings and helpers shared by every layer.

add_compile_options(-Wall -Wextra)

if(VORLO_SANITIZE)
  string(REPLACE ";" "," _vorlo_san "${VORLO_SANITIZE}")
  add_compile_options(-fsanitize=${_vorlo_san} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${_vorlo_san})
endif()

# Where the shared GenICam descriptions of real cameras live (test inputs written by others).
set(VORLO_GENICAM_XML_DIR "${PROJECT_SOURCE_DIR}/../shared/genicam-xml" CACHE PATH
    "Folder of real cameras' GenICam descriptions used as test and benchmark inputs")

# vorlo_add_library(<target> EXPORT_NAME <name> EXPORT_MACRO_BASE <BASE> ...)
# is not wrapped: each layer states its own add_library; this helper only
# applies what every installed library shares.
function(vorlo_setup_library target export_name)
  set_target_properties(${target} PROPERTIES
    EXPORT_NAME ${export_name}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})
  add_library(VorloQtWidgets::${export_name} ALIAS ${target})
  install(TARGETS ${target} EXPORT VorloQtWidgetsTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endfunction()

# vorlo_add_test(<name> SOURCES <files...> [LIBS <targets...>] [TIMEOUT <s>] [LABELS <labels...>])
# Builds one QtTest executable and registers it with CTest. Tests run on the
# offscreen platform, with settings and runtime files in a private temporary home
# so that nothing touches the user's own configuration.
function(vorlo_add_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES AUTOMOC ON AUTOUIC ON AUTORCC ON)
  target_link_libraries(${name} PRIVATE Qt5::Test ${ARG_LIBS})
  target_compile_definitions(${name} PRIVATE
    VORLO_GENICAM_XML_DIR="${VORLO_GENICAM_XML_DIR}"
    VORLO_TEST_SOURCE_DIR="${CMAKE_CURRENT_SOURCE_DIR}")
  add_test(NAME ${name} COMMAND ${name})
  set(_home "${CMAKE_BINARY_DIR}/testhome/${name}")
  file(MAKE_DIRECTORY "${_home}")
  set_tests_properties(${name} PROPERTIES
    TIMEOUT ${ARG_TIMEOUT}
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;XDG_CONFIG_HOME=${_home}/config;HOME=${_home};QT_LOGGING_RULES=qt.qpa.*=false")
  if(ARG_LABELS)
    set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}")
  endif()
  # Tests that discover cameras or serve a fake GigE Vision camera on loopback never run at
  # the same time: one test's fake camera would otherwise show up in another's discovery.
  foreach(_label vorlo gige devicetree bandwidth viewer)
    if(_label IN_LIST ARG_LABELS)
      set_tests_properties(${name} PROPERTIES RESOURCE_LOCK network-cameras)
      break()
    endif()
  endforeach()
endfunction()
