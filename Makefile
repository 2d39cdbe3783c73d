# The house's front door. Each command installs the Debian packages it needs when they are missing, configures
# and builds with CMake, says what it does, and does it. CMakePresets.json has the builds that these commands use.

JOBS ?= 2
PREFIX ?= /usr/local
DESTDIR ?=
# For all fuzzers together.
FUZZ_SECONDS ?= 240
# Further settings for CMake, such as -DZENTHAR_WERROR=ON.
CMAKE_FLAGS ?=

build := build/release
say = @printf '== %s\n'
sources = $$(git ls-files '*.h' '*.c' '*.cpp')

.DEFAULT_GOAL := help
.PHONY: help run test bench fuzz docs install package format clean configured

help:
	@printf '%s\n' \
	  'make run      build the library and the calculator, and show them at work on real data' \
	  'make test     build everything and run all tests' \
	  'make bench    measure against what else one would use, into build/bench/report' \
	  'make fuzz     look for faults with random input for FUZZ_SECONDS=$(FUZZ_SECONDS)' \
	  'make docs     write the reference to build/docs/html' \
	  'make install  install under PREFIX=$(PREFIX) (DESTDIR is honoured)' \
	  'make package  make Debian packages in dist/' \
	  'make format   format the sources with clang-format' \
	  'make clean    remove build/' \
	  'JOBS=$(JOBS) processes build at once; CMAKE_FLAGS adds settings for CMake.'

# A first configuration asks for nothing that only tests need; an existing one keeps its settings.
configured:
	@tools/install-deps build
	@if [ ! -f $(build)/build.ninja ] || [ -n '$(CMAKE_FLAGS)' ]; then \
	  printf '== Configuring in %s\n' $(build); \
	  cmake --preset release -DZENTHAR_BUILD_TESTS=OFF $(CMAKE_FLAGS) || exit 1; \
	fi

run: configured
	$(say) 'Building the library and the calculator'
	@cmake --build $(build) -j $(JOBS) --target run

test:
	@tools/install-deps build test
	$(say) 'Configuring in $(build)'
	@cmake --preset release -DZENTHAR_BUILD_TESTS=ON $(CMAKE_FLAGS)
	$(say) 'Building'
	@cmake --build $(build) -j $(JOBS)
	$(say) 'Testing'
	@ctest --preset release -j $(JOBS)

bench:
	@tools/install-deps build bench
	$(say) 'Configuring in build/bench'
	@cmake --preset bench $(CMAKE_FLAGS)
	$(say) 'Building'
	@cmake --build build/bench -j $(JOBS)
	$(say) 'Measuring'
	@bench/report.py build/bench

fuzz:
	@tools/install-deps build lint
	$(say) 'Configuring in build/fuzz'
	@cmake --preset fuzz $(CMAKE_FLAGS)
	$(say) 'Building'
	@cmake --build --preset fuzz -j $(JOBS)
	$(say) 'Fuzzing for $(FUZZ_SECONDS) seconds'
	@tools/fuzz $(FUZZ_SECONDS)

docs:
	@tools/install-deps docs
	$(say) 'Writing the reference to build/docs/html'
	@tools/build-docs

install: configured
	$(say) 'Building'
	@cmake --build $(build) -j $(JOBS) --target ZentharRTL
	$(say) 'Installing under $(DESTDIR)$(PREFIX)'
	@DESTDIR='$(DESTDIR)' cmake --install $(build) --prefix '$(PREFIX)'
	@if [ -z '$(DESTDIR)' ] && [ "$$(id -u)" -eq 0 ]; then ldconfig; fi

package:
	@tools/install-deps build package
	$(say) 'Configuring in build/package'
	@cmake --preset package $(CMAKE_FLAGS)
	$(say) 'Building'
	@cmake --build --preset package -j $(JOBS)
	$(say) 'Packing into dist/'
	@rm -f build/package/*.*deb dist/*.deb
	@cd build/package && cpack >cpack.log 2>&1 || { cat cpack.log >&2; exit 1; }
	@mkdir -p dist && for file in build/package/*.*deb; do mv "$$file" "dist/$$(basename "$${file%.*}").deb"; done
	@ls dist/*.deb

format:
	@tools/install-deps lint
	$(say) 'Formatting'
	@tools/format

clean:
	rm -rf build
