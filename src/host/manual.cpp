#include "host/manual.h"

#include <functional>
#include <iostream>
#include <sstream>

namespace kelvarion::host {
namespace {

std::vector<const CLI::App*> Subcommands(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App* sub) { return !sub->get_name().empty(); });
}

std::vector<const CLI::Option*> Options(const CLI::App& app, bool positional) {
  return app.get_options([positional](const CLI::Option* option) {
    return option->get_positional() == positional && option->get_name() != "--help";
  });
}

// Lines that begin with a dot or an apostrophe are requests to roff.
std::string Roff(const std::string& text) {
  std::string escaped;
  bool line_begins = true;
  for (const char c : text) {
    if (line_begins && (c == '.' || c == '\'')) escaped += "\\&";
    line_begins = c == '\n';
    if (c == '\\') {
      escaped += "\\e";
    } else if (c == '-') {
      escaped += "\\-";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

std::string Synopsis(const CLI::App& command, const std::string& words) {
  std::string line = words;
  for (const CLI::Option* option : Options(command, false)) line += " [" + option->get_name() + "]";
  for (const CLI::Option* option : Options(command, true)) {
    const std::string many = option->get_items_expected_max() > 1 ? "..." : "";
    const std::string name = option->get_name(true) + many;
    line += option->get_required() ? " " + name : " [" + name + "]";
  }
  return line;
}

void WriteOptions(const CLI::App& command, std::ostream& out) {
  for (const bool positional : {true, false})
    for (const CLI::Option* option : Options(command, positional))
      out << ".TP\n.B " << Roff(option->get_name(positional, !positional)) << "\n"
          << Roff(option->get_description()) << "\n";
}

// Subcommands inherit the footer of their parent unless they have their own.
bool HasOwnFooter(const CLI::App& command) {
  const CLI::App* const parent = command.get_parent();
  const std::string footer = command.get_footer();
  return !footer.empty() && !(parent && parent->get_footer() == footer);
}

void WriteExamples(const CLI::App& command, std::ostream& out) {
  const std::string footer = command.get_footer();
  if (HasOwnFooter(command)) out << ".PP\n.nf\n" << Roff(footer) << "\n.fi\n";
}

// The command and all below it.
void WriteCommand(const CLI::App& command, const std::string& words, std::ostream& out) {
  const std::vector<const CLI::App*> subcommands = Subcommands(command);
  if (subcommands.empty()) {
    out << ".SS " << Roff(Synopsis(command, words)) << "\n"
        << Roff(command.get_description()) << ".\n";
    WriteOptions(command, out);
  } else if (HasOwnFooter(command)) {
    out << ".SS " << Roff(words) << "\n" << Roff(command.get_description()) << ".\n";
  }
  WriteExamples(command, out);
  for (const CLI::App* sub : subcommands) WriteCommand(*sub, words + " " + sub->get_name(), out);
}

// Calls back for the program and every command, with the words that lead to it.
void ForEachCommand(const CLI::App& app, const std::string& words,
                    const std::function<void(const CLI::App&, const std::string&)>& visit) {
  visit(app, words);
  for (const CLI::App* sub : Subcommands(app))
    ForEachCommand(*sub, words + " " + sub->get_name(), visit);
}

}  // namespace

std::string ManualPage(const CLI::App& app) {
  const std::string name = app.get_name();
  std::ostringstream out;
  out << ".TH " << name << " 1\n.SH NAME\n"
      << name << " \\- " << Roff(app.get_description()) << "\n.SH SYNOPSIS\n.B " << name
      << "\n[OPTION]... COMMAND [WORD]...\n.SH OPTIONS\nBefore or after the command:\n";
  WriteOptions(app, out);
  out << ".SH COMMANDS\n";
  for (const CLI::App* sub : Subcommands(app)) WriteCommand(*sub, sub->get_name(), out);
  out << ".SH EXIT STATUS AND FIRST STEPS\n";
  WriteExamples(app, out);
  return out.str();
}

std::string BashCompletion(const CLI::App& app) {
  std::ostringstream commands;
  std::ostringstream options;
  // Bash knows no empty subscripts: each begins with a blank.
  ForEachCommand(app, " ", [&](const CLI::App& command, const std::string& words) {
    commands << "  ['" << words << "']='";
    for (const CLI::App* sub : Subcommands(command)) commands << sub->get_name() << ' ';
    commands << "'\n";
    options << "  ['" << words << "']='--help ";
    for (const CLI::Option* option : Options(command, false))
      for (const std::string& name : option->get_lnames()) options << "--" << name << ' ';
    options << "'\n";
  });
  return "# Completes the commands of kelvarionctl in bash.\n"
         "declare -A _kelvarionctl_commands=(\n" +
         commands.str() + ")\ndeclare -A _kelvarionctl_options=(\n" + options.str() + ")\n" +
         R"(_kelvarionctl() {
  local word path= current=${COMP_WORDS[COMP_CWORD]}
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    case " ${_kelvarionctl_commands[" $path"]} " in
      *" $word "*) path+=" $word" ;;
    esac
  done
  case $current in
    -*) COMPREPLY=($(compgen -W "${_kelvarionctl_options[" $path"]} ${_kelvarionctl_options[" "]}" -- "$current")) ;;
    *) COMPREPLY=($(compgen -W "${_kelvarionctl_commands[" $path"]}" -- "$current")) ;;
  esac
}
complete -o default -F _kelvarionctl kelvarionctl
)";
}

void AddManualCommands(CLI::App& app) {
  const auto add = [&](const char* name, const char* description, const char* footer,
                       std::string (*text)(const CLI::App&)) {
    CLI::App* const sub = app.add_subcommand(name, description);
    sub->footer(footer);
    // Printed while the command line is parsed, as --help is: no home is needed.
    sub->final_callback([&app, text] {
      std::cout << text(app) << std::flush;
      throw CLI::Success();
    });
  };
  add("manual", "Print the page for man",
      "Example:\n  kelvarionctl manual >/usr/local/share/man/man1/kelvarionctl.1", ManualPage);
  add("completion", "Print the script that completes commands in bash",
      "Example:\n  kelvarionctl completion >/etc/bash_completion.d/kelvarionctl", BashCompletion);
}

}  // namespace kelvarion::host
