// SPDX-License-Identifier: Apache-2.0
// velmora-account: the account client from the command line (see commands.cc for its commands).
#include "account_cli.hh"

int main(int argc, char **argv) { return vcli::run(vacc::tool(), argc, argv); }
