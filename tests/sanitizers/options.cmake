# The options of sanitizers in every program that is declared from here on. Only those that an
# executable itself defines are heard.
add_library(kv_sanitizer_options OBJECT ${CMAKE_CURRENT_LIST_DIR}/options.cpp)
if(KELVARION_FUZZ)
  set(log stderr)  # Which people and tools/fuzz read.
else()
  set(log ${CMAKE_BINARY_DIR}/reports/report)
  # Programs run as other accounts, too.
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/reports)
  file(CHMOD ${CMAKE_BINARY_DIR}/reports PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_WRITE GROUP_EXECUTE WORLD_READ WORLD_WRITE WORLD_EXECUTE)
endif()
target_compile_definitions(kv_sanitizer_options PRIVATE KELVARION_SANITIZER_LOG="${log}")
link_libraries($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:$<TARGET_OBJECTS:kv_sanitizer_options>>)
# The runtimes stand before crypt() and look for the real one only once, when a program starts; PAM
# loads it later.
link_libraries($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-Wl,--push-state,--no-as-needed,-lcrypt,--pop-state>)
