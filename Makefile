# Velmor: make test | make demo | make package | make bench
BUILD ?= build
NATIVE := $(BUILD)/native
ASAN := $(BUILD)/native-asan
WIN64 := $(BUILD)/win64
WIN32 := $(BUILD)/win32
JOBS ?= $(shell nproc)
export VELMOR_BUILD_DIR := $(abspath $(BUILD))

# The package folders (the sdk target of each Windows tree writes them).
VERSION := $(shell sed -n 's/^project.velmor VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
DIST := dist
PKG32 := $(DIST)/velmor-$(VERSION)-i686
PKG64 := $(DIST)/velmor-$(VERSION)-x86_64

.PHONY: all deps native asan win64 win32 package test demo bench clean

all: native win64 win32

deps:
	@scripts/install-deps

$(NATIVE)/build.ninja: | deps
	cmake -S . -B $(NATIVE) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null

# The portable parts again, under AddressSanitizer and UBSan.
$(ASAN)/build.ninja: | deps
	cmake -S . -B $(ASAN) -G Ninja -DCMAKE_BUILD_TYPE=Debug \
	  -DCMAKE_CXX_FLAGS="-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer" >/dev/null

$(WIN64)/build.ninja: | deps
	cmake -S . -B $(WIN64) -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-x86_64.cmake >/dev/null

$(WIN32)/build.ninja: | deps
	cmake -S . -B $(WIN32) -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-i686.cmake >/dev/null

native: $(NATIVE)/build.ninja
	cmake --build $(NATIVE) -j $(JOBS)

asan: $(ASAN)/build.ninja
	cmake --build $(ASAN) -j $(JOBS) --target native_tests

win64: $(WIN64)/build.ninja
	cmake --build $(WIN64) -j $(JOBS)

win32: $(WIN32)/build.ninja
	cmake --build $(WIN32) -j $(JOBS)

# dist/velmor-<version>-i686/ and -x86_64/, each with its zip.
package: win64 win32
	cmake --build $(WIN32) --target sdk
	cmake --build $(WIN64) --target sdk

# Native tests, then every Windows test under a private headless Wine session.
test: native asan win64 win32
	cd $(NATIVE) && ctest --output-on-failure
	cd $(ASAN) && ctest --output-on-failure
	scripts/wine-session sh -c 'cd $(WIN64) && ctest --output-on-failure'

demo: win64
	scripts/run-demo

bench: native win64
	scripts/run-bench

clean:
	rm -rf $(BUILD) $(DIST)
