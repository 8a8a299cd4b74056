# SPDX-License-Identifier: Apache-2.0
"""kipgauss for Conan 2: conan create packaging/conan"""
import os
import re

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load


class KipgaussConan(ConanFile):
    name = "kipgauss"
    license = "Apache-2.0"
    description = "Gaussian smoothing of grey-scale images for machine vision"
    topics = ("image-processing", "gaussian", "machine-vision")
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "tools": [True, False]}
    default_options = {"shared": True, "tools": False}

    def _root(self):
        return os.path.join(self.recipe_folder, "..", "..")

    def set_version(self):
        header = load(self, os.path.join(self._root(), "include", "kip", "version.h"))
        self.version = ".".join(re.findall(r"KIP_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", header))

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "LICENSE", "CHANGELOG.md", "cmake/*", "docs/*", "include/*", "packaging/*",
                        "src/*", "tools/*"):
            copy(self, pattern, self._root(), self.export_sources_folder)

    def requirements(self):
        if self.options.tools:
            self.requires("cli11/[>=2.3 <3]")
            self.requires("libpng/[>=1.6 <2]")
            self.requires("libtiff/[>=4.5 <5]")

    def layout(self):
        cmake_layout(self)

    def generate(self):
        CMakeDeps(self).generate()
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables.update(KIP_TESTS=False, KIP_PYTHON=False, KIP_TOOLS=bool(self.options.tools))
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))
        CMake(self).install()

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "kipgauss")
        self.cpp_info.set_property("pkg_config_name", "kipgauss")
        host, gauss = self.cpp_info.components["host"], self.cpp_info.components["gauss"]
        host.libs, gauss.libs = ["kiphost"], ["kipgauss"]
        host.set_property("cmake_target_name", "kip::host")
        gauss.set_property("cmake_target_name", "kip::gauss")
        host.system_libs = ["pthread", "m"]
        gauss.requires = ["host"]
