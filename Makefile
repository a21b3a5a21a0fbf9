# Thin wrapper over CMake + Ninja so the README's two commands stay short.
BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)
SRC_DIR := $(CURDIR)

export CCACHE_BASEDIR := $(SRC_DIR)
export CCACHE_NOHASHDIR := 1

.PHONY: all deps configure build run test bench install clean

all: build

deps:
	@scripts/install-deps

$(BUILD_DIR)/build.ninja:
	cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE)

configure: $(BUILD_DIR)/build.ninja

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

run: deps build
	@scripts/run-app $(BUILD_DIR)

test: deps build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

# Installs the programs, menu entry, icons and file type under PREFIX.
PREFIX ?= /usr/local
install: deps build
	cmake --install $(BUILD_DIR) --prefix $(PREFIX)
	-update-desktop-database $(PREFIX)/share/applications
	-update-mime-database $(PREFIX)/share/mime
	-gtk-update-icon-cache -q -t $(PREFIX)/share/icons/hicolor

bench: deps
	cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=Release -DQUILLFEN_BENCHMARKS=ON
	cmake --build build-release -j $(JOBS)

clean:
	rm -rf $(BUILD_DIR)
