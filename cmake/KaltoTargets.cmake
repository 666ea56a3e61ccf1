# What every target of the project is compiled and linked with.

function(kalto_compile_options target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
    # clang's complaint about a size check that only a 32-bit size_t can fail.
    $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wno-tautological-constant-out-of-range-compare>)
  set_target_properties(${target} PROPERTIES
    C_VISIBILITY_PRESET hidden CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR})
  kalto_sanitize(${target})
endfunction()

function(kalto_sanitize target)
  if(KALTO_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${KALTO_SANITIZE} -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
    target_link_options(${target} PUBLIC -fsanitize=${KALTO_SANITIZE})
  endif()
endfunction()

# The two shared libraries: SONAME, no undefined names but the ones an application must supply, nothing of the
# C++ runtime's templates exported. Their own calls of their own functions are bound here: a third of the start's look-ups
# less, and a function of the application's that happens to have one of these names (LoadRegistry, lstrlen) is its own affair.
function(kalto_shared_library target)
  kalto_sanitize(${target})
  set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  target_link_libraries(${target} PRIVATE Threads::Threads ${CMAKE_DL_LIBS} rt)
  target_link_options(${target} PRIVATE
    -Wl,--as-needed -Wl,-z,relro -Wl,-Bsymbolic-functions
    -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/hide-runtime.map)
  set_target_properties(${target} PROPERTIES LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/hide-runtime.map)
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kalto-${PROJECT_VERSION_MAJOR}>)
endfunction()

# kalto_application(name sources...): a program with a WinMain, on the reference host.
function(kalto_application name)
  add_executable(${name} ${ARGN})
  kalto_compile_options(${name})
  target_link_libraries(${name} PRIVATE kaltohost kalto)
endfunction()
