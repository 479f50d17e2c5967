// SPDX-License-Identifier: Apache-2.0
// velmora-platform: the admin command of the host platform (see commands.cc for its commands).
#include "commands.hh"

int main(int argc, char **argv) { return vcli::run(vplat::tool(), argc, argv); }
