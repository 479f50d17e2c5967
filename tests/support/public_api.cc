// SPDX-License-Identifier: Apache-2.0
// Velmora tests: what the public headers declare (see public_api.hh).
#include "public_api.hh"

#include <glib.h>

#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform_root.hh"

namespace vtest {
namespace {

// Tokens of preprocessed C: identifiers, string and character literals (as one token each), and
// single punctuation characters. Numbers become identifiers, which does no harm here.
std::vector<std::string> tokens(const std::string &text) {
  std::vector<std::string> out;
  size_t i = 0;
  while (i < text.size()) {
    const char c = text[i];
    if (std::isspace(static_cast<unsigned char>(c))) {
      ++i;
    } else if (std::isalnum(static_cast<unsigned char>(c)) || c == '_') {
      size_t j = i;
      while (j < text.size() &&
             (std::isalnum(static_cast<unsigned char>(text[j])) || text[j] == '_'))
        ++j;
      out.push_back(text.substr(i, j - i));
      i = j;
    } else if (c == '"' || c == '\'') {
      size_t j = i + 1;
      while (j < text.size() && text[j] != c) j += text[j] == '\\' ? 2 : 1;
      out.push_back(text.substr(i, j + 1 - i));
      i = j + 1;
    } else {
      out.emplace_back(1, c);
      ++i;
    }
  }
  return out;
}

bool identifier(const std::string &t) {
  return !t.empty() && (std::isalpha(static_cast<unsigned char>(t[0])) || t[0] == '_');
}

// One top-level declaration (the tokens up to its ';', braces of struct and enum bodies skipped).
void classify(const std::vector<std::string> &decl, Declared &out) {
  if (decl.empty() || decl[0] == "typedef" || decl[0] == "static") return;
  // A function: the first identifier followed by '(' at parenthesis depth 0, attributes aside.
  int depth = 0;
  for (size_t i = 0; i + 1 < decl.size(); ++i) {
    if (decl[i] == "(") ++depth;
    if (decl[i] == ")") --depth;
    if (depth == 0 && identifier(decl[i]) && decl[i + 1] == "(" && decl[i] != "__attribute__") {
      out.functions.insert(decl[i]);
      return;
    }
  }
  // A variable: its name is the last identifier at depth 0 before any array brackets.
  if (decl[0] != "extern" && !(decl.size() > 1 && decl[1] == "extern") &&
      !(decl[0] == "__attribute__"))
    return;
  std::string name;
  depth = 0;
  for (const std::string &t : decl) {
    if (t == "(" || t == "[") ++depth;
    if (t == ")" || t == "]") --depth;
    if (depth == 0 && identifier(t)) name = t;
  }
  if (!name.empty()) out.variables.insert(name);
}

void parse(const std::string &text, Declared &out) {
  std::vector<std::string> decl;
  int braces = 0;
  for (const std::string &t : tokens(text)) {
    if (t == "{") {
      ++braces;
      continue;
    }
    if (t == "}") {
      --braces;
      continue;
    }
    if (braces > 0) continue;
    if (t == ";") {
      classify(decl, out);
      decl.clear();
    } else {
      decl.push_back(t);
    }
  }
}

bool under(const std::string &path, const std::vector<std::string> &dirs) {
  for (const std::string &d : dirs)
    if (path.rfind(d + "/", 0) == 0) return true;
  return false;
}

}  // namespace

Declared declared_names(const std::vector<std::string> &dirs) {
  Declared out;
  std::string unit;
  std::string includes;
  std::vector<std::string> canonical;
  for (const std::string &d : dirs) {
    if (!std::filesystem::is_directory(d)) continue;
    canonical.push_back(std::filesystem::canonical(d).string());
    includes += " -I'" + canonical.back() + "'";
    for (const auto &entry : std::filesystem::directory_iterator(canonical.back()))
      if (entry.path().extension() == ".h") unit += "#include \"" + entry.path().string() + "\"\n";
  }
  if (unit.empty()) {
    out.error = "no header found";
    return out;
  }
  char dir_template[] = "/tmp/vtest-headers-XXXXXX";
  if (!g_mkdtemp(dir_template)) {
    out.error = "cannot make a temporary folder";
    return out;
  }
  const std::string source = std::string(dir_template) + "/all_headers.c";
  std::ofstream(source) << unit;
  const std::string command =
      std::string(VELMORA_C_COMPILER) + " -std=c11 -E" + includes + " '" + source + "' 2>&1";
  FILE *pipe = popen(command.c_str(), "r");
  std::string kept;
  std::string all;
  if (pipe) {
    // Keep the lines that come from the headers of `dirs`, as the line markers tell.
    bool keep = false;
    char buffer[4096];
    std::string line;
    while (fgets(buffer, sizeof buffer, pipe)) {
      line += buffer;
      if (line.back() != '\n') continue;
      all += line;
      if (line.rfind("# ", 0) == 0) {
        const size_t open = line.find('"');
        const size_t close = line.find('"', open + 1);
        if (open != std::string::npos && close != std::string::npos)
          keep = under(line.substr(open + 1, close - open - 1), canonical);
      } else if (keep) {
        kept += line;
      }
      line.clear();
    }
    if (pclose(pipe) != 0) out.error = "the compiler failed: " + command + "\n" + all;
  } else {
    out.error = "cannot run " + command;
  }
  std::filesystem::remove_all(dir_template);
  if (out.error.empty()) parse(kept, out);
  return out;
}

std::vector<std::string> public_header_dirs() {
  return {std::string(VELMORA_SOURCE_DIR) + "/include", PlatformRoot::build_dir() + "/include"};
}

std::vector<std::string> platform_header_dirs() {
  return {std::string(VELMORA_SOURCE_DIR) + "/platform/include",
          std::string(VELMORA_SOURCE_DIR) + "/platform/host/include"};
}

std::vector<std::string> pending_functions() {
  std::vector<std::string> names;
  std::ifstream in(std::string(VELMORA_SOURCE_DIR) + "/tests/interface/pending_functions.txt");
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream words(line);
    std::string name;
    if (words >> name && name[0] != '#') names.push_back(name);
  }
  return names;
}

}  // namespace vtest
