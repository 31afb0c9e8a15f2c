# Makes KV_RESOURCE_TABLE, a source that carries the bytes of every file in a folder "templates" or
# "resources" of a module, for util/resources.h. The assembler reads the files, so that they are
# never turned into C++ literals and back.
file(GLOB KV_RESOURCE_FILES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*/templates/*
  ${CMAKE_CURRENT_SOURCE_DIR}/*/resources/*)
set(bytes)
set(symbols)
set(rows)
set(number 0)
foreach(file IN LISTS KV_RESOURCE_FILES)
  get_filename_component(name ${file} NAME_WLE)
  get_filename_component(extension ${file} LAST_EXT)
  set(type TEXT)
  if(extension STREQUAL ".rgs")
    set(type REGISTRY)
  endif()
  set(symbol kv_resource_${number})
  string(APPEND bytes "    \".hidden ${symbol}, ${symbol}_end\\n\"\n"
    "    \".global ${symbol}, ${symbol}_end\\n\"\n"
    "    \"${symbol}: .incbin \\\"${file}\\\"\\n\"\n    \"${symbol}_end: .byte 0\\n\"\n")
  string(APPEND symbols "extern \"C\" __attribute__((visibility(\"hidden\"))) const char "
    "${symbol}[], ${symbol}_end[];\n")
  string(APPEND rows "    {u\"${type}\", u\"${name}\", ${symbol}, ${symbol}_end},\n")
  math(EXPR number "${number} + 1")
endforeach()
file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/resource_table.cpp @ONLY CONTENT
"#include \"util/resource_table.h\"

asm(\".pushsection .rodata\\n\"
@bytes@    \".popsection\\n\");
@symbols@
namespace kelvarion::util {

std::span<const Resource> AllResources() {
  static const Resource resources[] = {
@rows@  };
  return resources;
}

}  // namespace kelvarion::util
")
set(KV_RESOURCE_TABLE ${CMAKE_CURRENT_BINARY_DIR}/resource_table.cpp)
set_source_files_properties(${KV_RESOURCE_TABLE} PROPERTIES OBJECT_DEPENDS "${KV_RESOURCE_FILES}")
