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
# The example host, built against each package as a project of its own.
EXAMPLE32 := $(BUILD)/example-win32
EXAMPLE64 := $(BUILD)/example-win64
# The plain C host of the window class, the same way.
CHOST32 := $(BUILD)/c-host-win32
CHOST64 := $(BUILD)/c-host-win64

FUZZ := $(BUILD)/fuzz
FUZZ_RUNS ?= 300000

.PHONY: all deps native asan win64 win32 package examples fuzz test demo bench clean

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
	cmake --build $(ASAN) -j $(JOBS) --target native_tests dap_tests velmor-slang-dap

# The line search and the comment markers, the engine's record walker over
# random memory, and big edits with undo and redo against one line at a
# time, under libFuzzer (clang, with
# AddressSanitizer): a bounded run from an empty corpus.
fuzz: | deps
	mkdir -p $(FUZZ)
	clang++ -std=c++17 -O1 -g -fsanitize=fuzzer-no-link,address,undefined -I. -mavx2 \
	  -c text/TextSearchAvx2.cpp -o $(FUZZ)/TextSearchAvx2.o
	clang++ -std=c++17 -O1 -g -fsanitize=fuzzer,address,undefined -I. \
	  framework/afxexcept.cpp framework/afxstr.cpp framework/afxstrmem.cpp \
	  text/TextWalk.cpp text/TextSearch.cpp $(FUZZ)/TextSearchAvx2.o tests/fuzz/search_fuzz.cpp -o $(FUZZ)/search_fuzz
	cd $(FUZZ) && ./search_fuzz -runs=$(FUZZ_RUNS) -max_len=200 -seed=1 >search_fuzz.log 2>&1 \
	  || { tail -40 search_fuzz.log; exit 1; }
	@tail -1 $(FUZZ)/search_fuzz.log
	clang++ -std=c++17 -O1 -g -fsanitize=fuzzer,address,undefined -I. \
	  engine/ValueFormat.cpp engine/Resolver.cpp engine/RecordMemory.cpp engine/RecordWalker.cpp \
	  engine/ProcessMemory.cpp engine/ScriptLookup.cpp tests/fuzz/records_fuzz.cpp -o $(FUZZ)/records_fuzz
	cd $(FUZZ) && ./records_fuzz -runs=$(FUZZ_RUNS) -max_len=2048 -timeout=5 -seed=1 >records_fuzz.log 2>&1 \
	  || { tail -40 records_fuzz.log; exit 1; }
	@tail -1 $(FUZZ)/records_fuzz.log
	clang++ -std=c++17 -O1 -g -fsanitize=fuzzer,address,undefined -I. \
	  framework/afxexcept.cpp framework/afxstr.cpp framework/afxstrmem.cpp \
	  text/Colorizer.cpp text/ColourProgress.cpp text/ScriptText.cpp text/WordTable.cpp editor/UndoFrame.cpp \
	  tests/fuzz/bigedit_fuzz.cpp -o $(FUZZ)/bigedit_fuzz
	cd $(FUZZ) && ./bigedit_fuzz -runs=$$(( $(FUZZ_RUNS) / 10 )) -max_len=4096 -timeout=10 -seed=1 >bigedit_fuzz.log 2>&1 \
	  || { tail -40 bigedit_fuzz.log; exit 1; }
	@tail -1 $(FUZZ)/bigedit_fuzz.log

win64: $(WIN64)/build.ninja
	cmake --build $(WIN64) -j $(JOBS)

win32: $(WIN32)/build.ninja
	cmake --build $(WIN32) -j $(JOBS)

# dist/velmor-<version>-i686/ and -x86_64/, each with its zip.
package: win64 win32
	cmake --build $(WIN32) --target sdk
	cmake --build $(WIN64) --target sdk

# The example host against each package, with the cross compilers.
examples: package
	cmake -S examples/host -B $(EXAMPLE64) -G Ninja -DCMAKE_TOOLCHAIN_FILE=$(CURDIR)/cmake/mingw-x86_64.cmake \
	  -DCMAKE_PREFIX_PATH=$(abspath $(PKG64)) >/dev/null
	cmake --build $(EXAMPLE64)
	cmake -S examples/host -B $(EXAMPLE32) -G Ninja -DCMAKE_TOOLCHAIN_FILE=$(CURDIR)/cmake/mingw-i686.cmake \
	  -DCMAKE_PREFIX_PATH=$(abspath $(PKG32)) >/dev/null
	cmake --build $(EXAMPLE32)
	cmake -S examples/c-host -B $(CHOST64) -G Ninja -DCMAKE_TOOLCHAIN_FILE=$(CURDIR)/cmake/mingw-x86_64.cmake \
	  -DCMAKE_PREFIX_PATH=$(abspath $(PKG64)) >/dev/null
	cmake --build $(CHOST64)
	cmake -S examples/c-host -B $(CHOST32) -G Ninja -DCMAKE_TOOLCHAIN_FILE=$(CURDIR)/cmake/mingw-i686.cmake \
	  -DCMAKE_PREFIX_PATH=$(abspath $(PKG32)) >/dev/null
	cmake --build $(CHOST32)

# Native tests; the debug adapter's protocol tests (node's test runner
# driving the adapter through DebugClient); the packages and the i686 exception path, checked on their
# binaries; then every Windows test and the x86_64 example host under a
# private headless Wine session.
test: native asan win64 win32 examples fuzz
	cd $(NATIVE) && ctest --output-on-failure
	@scripts/install-deps
	cd tests/dap && VELMOR_DAP=$(abspath $(NATIVE))/bin/velmor-slang-dap node --test
	cd tests/dap && VELMOR_DAP=$(abspath $(ASAN))/bin/velmor-slang-dap node --test
	cd $(ASAN) && ctest --output-on-failure
	scripts/check-package --build $(WIN32) --example $(EXAMPLE32) --c-example $(CHOST32) $(PKG32)
	scripts/check-package --build $(WIN64) --example $(EXAMPLE64) --c-example $(CHOST64) $(PKG64)
	scripts/wine-session sh -c 'cd $(WIN64) && ctest --output-on-failure && \
	  cd $(abspath $(EXAMPLE64)) && $(CURDIR)/scripts/wine-run velmor-host.exe && \
	  cd $(abspath $(CHOST64)) && $(CURDIR)/scripts/wine-run velmor-c-host.exe'

demo: win64
	scripts/run-demo

bench: native win64
	scripts/run-bench

clean:
	rm -rf $(BUILD) $(DIST)
