// SPDX-License-Identifier: Apache-2.0
// Velmora host platform: the package registry as the other host parts see it.
//
// A package is one key file "<root>/packages/<package id>.pkg":
//
//   [package]
//   id=dev.velmora.account
//   apps=dev.velmora.account;dev.velmora.account.ui
//
//   [app dev.velmora.account]
//   type=service
//   exec=/absolute/path/of/the/executable
//
//   [metadata dev.velmora.account]
//   velmora-experience-service-api-level=5
//
// Apps and metadata keep the order in which they were installed. The registry is read when it
// changes (file_stamp.hh), not on every lookup: a process keeps what it read last, and reads the
// package files again once the directory, or the file of the package it looks at, changed.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace vhost {

struct AppRecord {
  std::string app_id;
  std::string package_id;
  std::string type;  // "service" or "ui"
  std::string exec;  // absolute path of the executable the launcher starts
  std::vector<std::pair<std::string, std::string>> metadata;  // in installation order
};

struct PackageRecord {
  std::string id;
  std::vector<AppRecord> apps;  // in installation order
};

// True for a usable package or app id: non-empty, at most 255 bytes, letters, digits, '.', '-', '_'
// only, not starting with '.'.
bool registry_valid_id(const std::string &id);

// False with *error when the registry of the current root cannot be trusted (see host_root.hh):
// every function below then fails (or finds nothing). A root without a registry is usable.
bool registry_usable(std::string *error);

// Reads a package of the current platform root. False with a message in *error when it is not
// installed or its file is malformed.
bool registry_load_package(const std::string &package_id, PackageRecord *out, std::string *error);

// True when the current platform root has a file for this package, readable or not (tells a
// malformed package from one that is not installed).
bool registry_package_exists(const std::string &package_id);

// Looks up a registered application of the current platform root. False when it is not registered
// or the registry cannot be read; when the root cannot be trusted, also false, with the reason in
// *refused when given (else logged).
bool registry_find_app(const std::string &app_id, AppRecord *out, std::string *refused = nullptr);

// Every installed package, sorted by id. Malformed package files are skipped and named in *errors.
std::vector<PackageRecord> registry_list_packages(std::vector<std::string> *errors);

// Installs (or replaces) a package. Refuses invalid ids, apps of other packages, an app id that
// another package already has, and types other than "service" and "ui".
bool registry_install_package(const PackageRecord &package, std::string *error);

// How many times this process read the registry's files.
unsigned registry_reads();

// Removes an installed package. False with a message when it is not installed.
bool registry_remove_package(const std::string &package_id, std::string *error);

}  // namespace vhost
