# The two entry points of a fresh Debian 12 machine: `make run` and `make test`.
# Both install what is missing, configure once and build incrementally.

BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)
REPO ?= $(CURDIR)

# Debian packages the build, the tests and the benchmarks need.
PACKAGES := cmake make g++ pkg-config git python3 \
            qt6-base-dev libsqlite3-dev libgtest-dev libgmock-dev

SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

.PHONY: all deps configure build test run bench clean format

all: build

deps:
	@missing=$$(for p in $(PACKAGES); do \
	    dpkg-query -W -f='$${Status}\n' $$p 2>/dev/null | grep -q 'install ok installed' || echo $$p; \
	done); \
	if [ -n "$$missing" ]; then \
	    echo "Installing missing packages:" $$missing; \
	    $(SUDO) apt-get update -qq && \
	    DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -qq --no-install-recommends $$missing; \
	fi

$(BUILD_DIR)/CMakeCache.txt:
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE)

configure: deps $(BUILD_DIR)/CMakeCache.txt

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	cd $(BUILD_DIR) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

run: build
	$(BUILD_DIR)/src/cli/strataloom-cli summary "$(REPO)"

bench: build
	cmake --build $(BUILD_DIR) --target benchmarks -j $(JOBS)
	@echo "Benchmarks are in $(BUILD_DIR)/bench; see bench/README.md"

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD_DIR)
