// vantacorectl: the operator's console client.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <optional>
#include <string>

#include "command_line.h"
#include "connection.h"
#include "device/editor/line_editor.h"
#include "device/program/comment.h"
#include "device/program/printable.h"
#include "device/program/standard_streams.h"

namespace {

using client::Connection;
using wire::Code;

// What a shell expects of a process that was interrupted: that the interrupt ended it.
void EndAsInterrupted() {
  std::fflush(stdout);
  std::signal(SIGINT, SIG_DFL);
  std::raise(SIGINT);
}

Code ExecuteLines(Connection& connection) {
  Code first = Code::DONE;
  std::string line;
  for (unsigned long long number = 1; !connection.IsOver() && !connection.WasInterrupted();
       ++number) {
    if (!std::getline(std::cin, line) || std::ferror(stdin)) {
      break;
    }
    if (program::IsComment(line)) {
      continue;
    }
    const Code code = connection.Execute(line);
    first = first == Code::DONE ? code : first;
    if (code != Code::DONE && !connection.WasInterrupted()) {
      std::fprintf(stderr, "vantacorectl: line %llu: %s\n", number, wire::NameOf(code));
    }
  }
  if (std::ferror(stdin)) {
    std::fputs("vantacorectl: standard input cannot be read\n", stderr);
    first = first == Code::DONE ? Code::REFUSED : first;
  }
  return first;
}

// At a prompt the operator has seen each reply; what counts is how the session ended. Returns
// nothing if an interrupt ended it.
std::optional<Code> Converse(Connection& connection) {
  editor::LineEditor lines(
      [&connection](const std::string& begun) { return connection.Complete(begun); });
  while (!connection.IsOver()) {
    std::string line;
    const editor::Step step =
        lines.Read("vantacore[" + std::to_string(connection.GetVlan()) + "]> ", line);
    if (step != editor::Step::END && connection.IsOver()) {  // while the line was edited
      break;
    }
    switch (step) {
      case editor::Step::LINE:
        connection.Execute(line);
        break;
      case editor::Step::HELP:
        connection.ShowHelp(line);
        break;
      case editor::Step::INTERRUPTED:
        return std::nullopt;
      case editor::Step::END:
        return Code::DONE;
      default:
        break;
    }
  }
  return connection.GetEnd();
}

Code Run(const client::CommandLine& line) {
  Connection connection(line.timeoutSeconds);
  Code code = connection.Open(line.socketPath, line.daemonUser);
  if (!connection.IsOver() && !connection.WasInterrupted()) {
    if (!line.isWaiting) {
      connection.WaitForNoEffects();
    }
    if (line.wantsPages && (line.hasCommand || isatty(STDIN_FILENO))) {
      connection.WantPages();
    }
    if (line.hasCommand) {
      connection.ExpectOneCommand();
      code = connection.Execute(line.command);
    } else if (isatty(STDIN_FILENO)) {
      if (const auto end = Converse(connection)) {
        return *end;
      }
      EndAsInterrupted();
    } else {
      code = ExecuteLines(connection);
    }
  }
  if (connection.WasInterrupted()) {
    EndAsInterrupted();
  }
  return code;
}

// Output that could not be written is no success.
Code Check(Code code) {
  return program::FlushOutput("vantacorectl") || code != Code::DONE ? code : Code::REFUSED;
}

}  // namespace

int main(int argc, char** argv) {
  program::OpenMissingStreams();
  program::SurviveFullFiles();
  try {
    client::CommandLine line;
    if (const auto ending = client::ParseCommandLine(argc, argv, line)) {
      return program::PrintEnding("vantacorectl", *ending);
    }
    return static_cast<int>(Check(Run(line)));
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "vantacorectl: %s\n", program::PrintableLines(problem.what()).c_str());
    return static_cast<int>(Code::REFUSED);
  }
}
