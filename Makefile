# The two entry points of a fresh Debian 12 machine: `make run` and `make test`.
# Both install what is missing, configure once and build incrementally.

BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)
REPO ?= $(CURDIR)

# Debian packages the build, the tests and the benchmarks need.
PACKAGES := cmake make ninja-build g++ pkg-config git python3 ccache \
            qt6-base-dev libsqlite3-dev libgtest-dev libgmock-dev \
            qt6-declarative-dev qt6-charts-dev fonts-material-design-icons-iconfont \
            qml6-module-qtquick qml6-module-qtqml qml6-module-qtqml-models \
            qml6-module-qtqml-workerscript qml6-module-qtquick-controls \
            qml6-module-qtquick-templates qml6-module-qtquick-layouts \
            qml6-module-qtquick-window qml6-module-qtquick-dialogs qml6-module-qtquick-shapes \
            qml6-module-qtcharts qml6-module-qttest qml6-module-qt-labs-folderlistmodel \
            libqt6svg6 xvfb imagemagick xdotool fonts-droid-fallback

SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

# What `make package` needs besides the build: CPack's dependency scan and the validators.
PACKAGE_TOOLS := dpkg-dev file desktop-file-utils appstream man-db

.PHONY: all deps configure build test run bench screenshots clean format package

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

# Ninja, because it skips the steps whose inputs were rewritten with the same content: the QML
# type information is written again on every build, and with make every QML cache file would be
# regenerated and recompiled each time. A build folder made by another generator is made anew.
configure: deps
	@if [ -f $(BUILD_DIR)/CMakeCache.txt ] && \
	    ! grep -q '^CMAKE_GENERATOR:INTERNAL=Ninja$$' $(BUILD_DIR)/CMakeCache.txt; then \
	    echo "Reconfiguring $(BUILD_DIR) for Ninja"; rm -rf $(BUILD_DIR); fi
	@[ -f $(BUILD_DIR)/CMakeCache.txt ] || \
	    cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE)

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	cd $(BUILD_DIR) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

# With a display: the application (REPO=path opens that repository). Without one: say so and
# print the terminal report of REPO (default: this checkout) with the command-line tool instead.
run: build
	@if [ -n "$$DISPLAY$$WAYLAND_DISPLAY" ]; then \
	    exec $(BUILD_DIR)/src/ui/shell/strataloom $(if $(filter command line,$(origin REPO)),"$(REPO)"); \
	else \
	    echo "No display (neither DISPLAY nor WAYLAND_DISPLAY is set): printing the report of $(REPO) instead."; \
	    $(BUILD_DIR)/src/cli/strataloom-cli report "$(REPO)"; \
	fi

bench: build
	cmake --build $(BUILD_DIR) --target benchmarks -j $(JOBS)
	@echo "Benchmarks are in $(BUILD_DIR)/bench; see README.md (Benchmarks)"

# Screenshots of the application under Xvfb (see README.md).
screenshots: build
	bash tools/screenshots.sh $(BUILD_DIR)/screenshots $(BUILD_DIR)

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD_DIR)

# A Debian package of both executables with the desktop entry, icon, AppStream description,
# manual pages and shell completion; then a check of what it holds. Install it with
# `sudo apt install ./build/strataloom_*.deb`.
package: build
	@$(MAKE) --no-print-directory deps PACKAGES="$(PACKAGE_TOOLS)"
	cd $(BUILD_DIR) && rm -f strataloom_*.deb && cpack -G DEB
	packaging/check-package.sh $(BUILD_DIR)/strataloom_*.deb
