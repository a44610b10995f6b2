# The JavaScript engine for action scripts. Debian's prebuilt library has no
# execution time-out hook, so by default we compile the engine from the source
# duktape-dev ships, with the hook switched on: a runaway script then ends at
# its time limit instead of hanging the build.
option(BRIVANT_DUKTAPE_TIME_LIMIT
  "Build Duktape from the source duktape-dev ships, with the execution time-out check" ON)
if(BRIVANT_DUKTAPE_TIME_LIMIT)
  find_file(DUKTAPE_SOURCE duktape.c PATHS /usr/share/duktape NO_DEFAULT_PATH REQUIRED)
  get_filename_component(duktape_source_dir ${DUKTAPE_SOURCE} DIRECTORY)
  set(duktape_dir ${CMAKE_BINARY_DIR}/duktape)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${duktape_source_dir}/duk_config.h)
  file(READ ${duktape_source_dir}/duk_config.h duk_config)
  foreach(option INTERRUPT_COUNTER EXEC_TIMEOUT_CHECK)
    string(FIND "${duk_config}" "#undef DUK_USE_${option}\n" found)
    if(found EQUAL -1)
      message(FATAL_ERROR
        "${duktape_source_dir}/duk_config.h has no '#undef DUK_USE_${option}' to switch on")
    endif()
  endforeach()
  string(REPLACE "#undef DUK_USE_INTERRUPT_COUNTER\n" "#define DUK_USE_INTERRUPT_COUNTER\n"
         duk_config "${duk_config}")
  string(REPLACE "#undef DUK_USE_EXEC_TIMEOUT_CHECK\n"
         "#if defined(__cplusplus)\nextern \"C\"\n#endif\nduk_bool_t BrivantScriptTimedOut(void *udata);\n#define DUK_USE_EXEC_TIMEOUT_CHECK(udata) BrivantScriptTimedOut((udata))\n"
         duk_config "${duk_config}")
  file(WRITE ${duktape_dir}/duk_config.h.new "${duk_config}")
  configure_file(${duktape_dir}/duk_config.h.new ${duktape_dir}/duk_config.h COPYONLY)
  configure_file(${duktape_source_dir}/duktape.h ${duktape_dir}/duktape.h COPYONLY)
  configure_file(${duktape_source_dir}/duktape.c ${duktape_dir}/duktape.c COPYONLY)
  add_library(bvduktape STATIC ${duktape_dir}/duktape.c)
  target_include_directories(bvduktape SYSTEM PUBLIC ${duktape_dir})
  # Fatal engine errors unwind through it as C++ exceptions.
  target_compile_options(bvduktape PRIVATE -fexceptions -w)
  target_link_libraries(bvduktape PRIVATE m)
  add_library(Duktape::duktape ALIAS bvduktape)
else()
  pkg_check_modules(DUKTAPE REQUIRED IMPORTED_TARGET duktape)
  add_library(Duktape::duktape ALIAS PkgConfig::DUKTAPE)
endif()
