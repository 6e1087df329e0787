# The SDK package of one architecture: what `make package` writes into
# dist/velmor-<version>-<arch>/ (through the `sdk` target), and the checks
# that keep its reference documentation complete.
#
#   bin/      velmor.dll (and, for i686, the shared GCC and C++ runtimes)
#   lib/      libvelmor.dll.a, cmake/Velmor/VelmorConfig.cmake and friends
#   include/  the public headers and VelmorVersion.h
#   share/licenses/  notices of the toolchain runtime that ships in bin/
#                    (i686) or inside velmor.dll (x86_64)

include(CMakePackageConfigHelpers)

if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86)$")
  set(VELMOR_ARCH i686)
else()
  set(VELMOR_ARCH ${CMAKE_SYSTEM_PROCESSOR})
endif()
set(VELMOR_PACKAGE_NAME velmor-${PROJECT_VERSION}-${VELMOR_ARCH})
set(VELMOR_DIST_DIR ${CMAKE_SOURCE_DIR}/dist CACHE PATH "Where the sdk target writes the package folder and zip")

# --- The shared runtime of the i686 build -----------------------------------
# Copied beside velmor.dll in the build tree, so that bin/ runs as it is, and
# into the package. The toolchain's copies carry full debug information
# (libstdc++-6.dll is about 20 MB); the copies made here drop it.
set(VELMOR_RUNTIME_DLLS)
foreach(name IN LISTS VELMOR_RUNTIME_DLL_NAMES)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
    OUTPUT_VARIABLE src OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT IS_ABSOLUTE "${src}" OR NOT EXISTS "${src}")
    message(FATAL_ERROR "${CMAKE_CXX_COMPILER} does not know ${name}: the shared runtime of the i686 build is missing")
  endif()
  get_filename_component(src "${src}" REALPATH)
  set(dst ${CMAKE_BINARY_DIR}/bin/${name})
  add_custom_command(OUTPUT ${dst}
    COMMAND ${CMAKE_STRIP} --strip-debug -o ${dst} ${src}
    DEPENDS ${src}
    COMMENT "Copying ${name} (without debug information)"
    VERBATIM)
  list(APPEND VELMOR_RUNTIME_DLLS ${dst})
endforeach()
if(VELMOR_RUNTIME_DLLS)
  add_custom_target(velmor_runtime ALL DEPENDS ${VELMOR_RUNTIME_DLLS})
  add_dependencies(velmor velmor_runtime)
  # A host that links the static libgcc would bring an unwinder of its own
  # that does not know the DLL's frames.
  target_link_options(velmor INTERFACE -shared-libgcc)
endif()

# --- Public headers -----------------------------------------------------------
# What a host includes: the control, the classes it exports and the part of
# the framework they are declared with. Every header listed here may include
# only headers listed here (check-package verifies it on the package).
set(VELMOR_PUBLIC_HEADERS
  editor/VelmorCtrl.h
  editor/Velmor.h
  editor/UndoFrame.h
  text/ScriptText.h
  text/Colorizer.h
  text/TextWalk.h
  text/TextSearch.h
  gdi/OrvMemDC.h
  engine/ValueTree.h
  engine/EngineInspector.h
  engine/EngineRecords.h
  engine/RecordMemory.h
  html/HTMLCtrl.h
  framework/afx.h
  framework/afxcmn.h
  framework/afxdefs.h
  framework/afxexcept.h
  framework/afxhtml.h
  framework/afxstr.h
  framework/afxtempl.h
  framework/afxwin.h
  framework/atltypes.h)

# --- Install rules (cmake --install, driven by the sdk target) --------------
install(TARGETS velmor EXPORT VelmorTargets
  RUNTIME DESTINATION bin
  ARCHIVE DESTINATION lib)
foreach(header IN LISTS VELMOR_PUBLIC_HEADERS)
  get_filename_component(dir ${header} DIRECTORY)
  install(FILES ${CMAKE_SOURCE_DIR}/${header} DESTINATION include/${dir})
endforeach()
install(FILES ${CMAKE_BINARY_DIR}/include/VelmorVersion.h DESTINATION include)
if(VELMOR_RUNTIME_DLLS)
  install(PROGRAMS ${VELMOR_RUNTIME_DLLS} DESTINATION bin)
endif()

install(EXPORT VelmorTargets NAMESPACE Velmor:: DESTINATION lib/cmake/Velmor)
list(JOIN VELMOR_RUNTIME_DLL_NAMES " " VELMOR_RUNTIME_DLL_WORDS)
configure_package_config_file(cmake/VelmorConfig.cmake.in
  ${CMAKE_BINARY_DIR}/package/VelmorConfig.cmake
  INSTALL_DESTINATION lib/cmake/Velmor)
# Same major version; and a 32-bit host never accepts the x86_64 package
# nor the other way round (the file compares CMAKE_SIZEOF_VOID_P).
write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/VelmorConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_BINARY_DIR}/package/VelmorConfig.cmake
  ${CMAKE_BINARY_DIR}/package/VelmorConfigVersion.cmake
  DESTINATION lib/cmake/Velmor)

# Notices of the toolchain runtime: libgcc and libstdc++ (GPL with the GCC
# Runtime Library Exception) and winpthreads (MIT-style, notice required).
# Taken from the toolchain's own Debian packages when their documentation
# is installed.
string(REPLACE "_" "-" VELMOR_DEB_ARCH ${VELMOR_ARCH})
install(FILES /usr/share/doc/gcc-mingw-w64-${VELMOR_DEB_ARCH}-posix-runtime/copyright
  DESTINATION share/licenses RENAME gcc-runtime.txt OPTIONAL)
install(FILES /usr/share/doc/mingw-w64-${VELMOR_DEB_ARCH}-dev/copyright
  DESTINATION share/licenses RENAME mingw-w64-runtime.txt OPTIONAL)

# --- The sdk target: folder and zip under VELMOR_DIST_DIR -------------------
# Debug information is stripped from velmor.dll in the package (--strip).
add_custom_target(sdk
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${VELMOR_DIST_DIR}/${VELMOR_PACKAGE_NAME} ${VELMOR_DIST_DIR}/${VELMOR_PACKAGE_NAME}.zip
  COMMAND ${CMAKE_COMMAND} --install ${CMAKE_BINARY_DIR} --prefix ${VELMOR_DIST_DIR}/${VELMOR_PACKAGE_NAME} --strip
  COMMAND ${CMAKE_COMMAND} -E chdir ${VELMOR_DIST_DIR}
          ${CMAKE_COMMAND} -E tar cf ${VELMOR_PACKAGE_NAME}.zip --format=zip ${VELMOR_PACKAGE_NAME}
  COMMAND ${CMAKE_COMMAND} -E echo "Package: ${VELMOR_DIST_DIR}/${VELMOR_PACKAGE_NAME} (and .zip)"
  DEPENDS velmor ${VELMOR_RUNTIME_DLLS}
  VERBATIM)

# --- The API reference stays complete ---------------------------------------
# Lists the DLL's exports and fails when an exported member of the control's
# classes has no entry in docs/api.md. A host-side check: runs on Linux, not
# under Wine.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
add_test(NAME api_reference_complete
  COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/scripts/check-api-reference
          --objdump ${CMAKE_OBJDUMP} $<TARGET_FILE:velmor> ${CMAKE_SOURCE_DIR}/docs/api.md)
# The check itself must fail on a reference that lacks entries.
add_test(NAME api_reference_check_detects_gaps
  COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/scripts/check-api-reference
          --objdump ${CMAKE_OBJDUMP} $<TARGET_FILE:velmor> /dev/null)
set_tests_properties(api_reference_check_detects_gaps PROPERTIES
  PASS_REGULAR_EXPRESSION "CVelmor::LoadText has no entry")

# The window-class interface: the "Window messages" part of docs/api.md names
# every message, notification, style, status, structure and function of
# Velmor.h; and the check fails on a reference without them.
add_test(NAME window_messages_reference_complete
  COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/scripts/check-window-messages
          ${CMAKE_SOURCE_DIR}/editor/Velmor.h ${CMAKE_SOURCE_DIR}/docs/api.md)
add_test(NAME window_messages_check_detects_gaps
  COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/scripts/check-window-messages
          ${CMAKE_SOURCE_DIR}/editor/Velmor.h /dev/null)
set_tests_properties(window_messages_check_detects_gaps PROPERTIES
  PASS_REGULAR_EXPRESSION "VEM_GETLINE has no entry")
