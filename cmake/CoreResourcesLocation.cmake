# The library does not know by itself where its resource documents lie: the build tree's programs
# read those the build made, the installed package's programs those installed beside it. Each of
# them links a small library, made by this function, that names the folder.
function(core_add_resources_location target location include_dir)
  set(CORE_RESOURCES_LOCATION ${location})
  set(source ${CMAKE_CURRENT_BINARY_DIR}/${target}.cpp)
  configure_file(${CMAKE_CURRENT_FUNCTION_LIST_DIR}/ResourcesLocation.cpp.in ${source} @ONLY)
  add_library(${target} STATIC ${source})
  target_include_directories(${target} PRIVATE ${include_dir})
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
endfunction()
