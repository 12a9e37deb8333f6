# The widths in which kernels are compiled (kernels/quelkernels/widths.h has the same list): name, doubles side by side,
# flags. A width stands here once a machine at hand has run its tests.
set(QUEL_WIDTHS plain)
set(QUEL_LANES_plain 1)
set(QUEL_FLAGS_plain "")
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  list(APPEND QUEL_WIDTHS sse2 avx2 avx512)
  set(QUEL_LANES_sse2 2)
  set(QUEL_FLAGS_sse2 "")
  set(QUEL_LANES_avx2 4)
  set(QUEL_FLAGS_avx2 -mavx2)
  set(QUEL_LANES_avx512 8)
  set(QUEL_FLAGS_avx512 -mavx512f -mavx512dq -mavx512vl)
endif()

# Compiles the kernel sources of a module once per width into `LIBRARY`. Arithmetic rounds after every operation at every
# width, and no width may use what a narrower machine lacks outside its own namespace; scripts/check-kernels watches.
function(quel_add_kernels LIBRARY NAME INCLUDES)
  foreach(width IN LISTS QUEL_WIDTHS)
    set(objects ${LIBRARY}_${NAME}_${width})
    add_library(${objects} OBJECT ${ARGN})
    target_link_libraries(${objects} PRIVATE quel_options quel_kernels)
    target_include_directories(${objects} PRIVATE ${INCLUDES})
    target_compile_definitions(${objects} PRIVATE QUEL_WIDTH=${width} QUEL_LANES=${QUEL_LANES_${width}})
    target_compile_options(${objects} PRIVATE ${QUEL_FLAGS_${width}})
    target_sources(${LIBRARY} PRIVATE $<TARGET_OBJECTS:${objects}>)
    target_sources(${LIBRARY}Objects INTERFACE $<TARGET_OBJECTS:${objects}>)
  endforeach()
endfunction()

add_library(quel_kernels INTERFACE)
target_include_directories(quel_kernels INTERFACE ${PROJECT_SOURCE_DIR}/kernels)
