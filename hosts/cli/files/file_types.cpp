// The table of types. What people write and what programs are written in; letters count as they
// stand.

#include "hosts/cli/files/file_types.h"

#include "hosts/cli/command/option_table.h"

#include <algorithm>

namespace trovex::cli {

namespace {

constexpr FileType kTypes[] = {
    {"ada", "*.adb *.ads"},
    {"asm", "*.asm *.s *.S"},
    {"awk", "*.awk"},
    {"bat", "*.bat *.cmd"},
    {"bibtex", "*.bib *.bst"},
    {"c", "*.c *.h *.H *.cats"},
    {"clojure", "*.clj *.cljc *.cljs *.cljx *.edn"},
    {"cmake", "*.cmake CMakeLists.txt"},
    {"cobol", "*.cob *.cbl *.cpy *.CBL *.COB"},
    {"config", "*.cfg *.conf *.config *.ini *.properties *.toml"},
    {"cpp", "*.cc *.cpp *.cxx *.C *.c++ *.h *.hh *.hpp *.hxx *.h++ *.inl *.ipp *.tpp"},
    {"cs", "*.cs *.csx"},
    {"css", "*.css *.scss *.sass *.less"},
    {"csv", "*.csv *.tsv"},
    {"d", "*.d"},
    {"dart", "*.dart"},
    {"diff", "*.diff *.patch"},
    {"docker", "Dockerfile Dockerfile.* *.dockerfile *Dockerfile"},
    {"elisp", "*.el"},
    {"elixir", "*.ex *.exs *.eex"},
    {"erlang", "*.erl *.hrl"},
    {"fortran", "*.f *.F *.f77 *.F77 *.f90 *.F90 *.f95 *.F95 *.for *.pfo"},
    {"fsharp", "*.fs *.fsi *.fsx"},
    {"gettext", "*.po *.pot"},
    {"go", "*.go"},
    {"groovy", "*.groovy *.gradle"},
    {"haskell", "*.hs *.lhs"},
    {"html", "*.htm *.html *.xhtml *.ejs"},
    {"java", "*.java *.jsp *.jspx"},
    {"js", "*.js *.jsx *.mjs *.cjs *.vue"},
    {"json", "*.json *.jsonl *.geojson composer.lock"},
    {"julia", "*.jl"},
    {"kotlin", "*.kt *.kts"},
    {"lisp", "*.lisp *.lsp *.el *.jl *.sc *.scm"},
    {"log", "*.log *.log.[0-9]* syslog syslog.[0-9]* messages messages.[0-9]*"},
    {"lua", "*.lua"},
    {"mail", "*.eml *.mbox *.mbx *.msg"},
    {"make", "[Mm]akefile [Mm]akefile.* GNUmakefile GNUmakefile.* *.mk *.mak"},
    {"man", "*.[0-9] *.[0-9][a-z] *.man"},
    {"markdown", "*.markdown *.md *.mdown *.mkd *.mdx"},
    {"md", "*.markdown *.md *.mdown *.mkd *.mdx"},
    {"ml", "*.ml *.mli *.mll *.mly"},
    {"objc", "*.m *.mm *.h"},
    {"org", "*.org *.org_archive"},
    {"pascal", "*.pas *.dpr *.lpr *.pp *.inc"},
    {"perl", "*.pl *.PL *.pm *.perl *.plh *.plx *.t"},
    {"php", "*.php *.php3 *.php4 *.php5 *.phtml"},
    {"prolog", "*.pl *.pro *.prolog *.P"},
    {"protobuf", "*.proto"},
    {"ps", "*.ps1 *.psd1 *.psm1"},
    {"py", "*.py *.pyi *.pyw"},
    {"python", "*.py *.pyi *.pyw"},
    {"qml", "*.qml"},
    {"r", "*.R *.r *.Rmd *.Rnw"},
    {"rst", "*.rst *.rest"},
    {"rtf", "*.rtf"},
    {"ruby", "*.rb *.rbw *.gemspec Gemfile Rakefile config.ru"},
    {"rust", "*.rs"},
    {"scala", "*.scala *.sbt"},
    {"sh", "*.sh *.bash *.zsh *.ksh *.csh *.tcsh *.fish .bashrc .profile .zshrc"},
    {"sql", "*.sql *.psql"},
    {"subtitles", "*.srt *.vtt *.sub *.ass"},
    {"svg", "*.svg"},
    {"swift", "*.swift"},
    {"tcl", "*.tcl"},
    {"tex", "*.tex *.ltx *.cls *.sty *.bib *.dtx *.ins"},
    {"texinfo", "*.texi *.texinfo"},
    {"toml", "*.toml Cargo.lock"},
    {"ts", "*.ts *.tsx *.mts *.cts"},
    {"txt", "*.txt *.text *.asc README LICENSE COPYING"},
    {"vb", "*.vb *.bas *.vbs"},
    {"vhdl", "*.vhd *.vhdl"},
    {"verilog", "*.v *.vh *.sv *.svh"},
    {"vim", "*.vim .vimrc .gvimrc vimrc"},
    {"xml", "*.xml *.xsd *.xsl *.xslt *.xml.dist *.dtd *.rng *.fodt *.tei"},
    {"yaml", "*.yaml *.yml"},
};

}  // namespace

std::span<const FileType> FileTypes() {
  return kTypes;
}

std::vector<std::string_view> GlobsOfType(std::string_view name) {
  const auto* const found =
      std::find_if(std::begin(kTypes), std::end(kTypes),
                   [name](const FileType& type) { return type.name == name; });
  return found == std::end(kTypes) ? std::vector<std::string_view>{} : SplitWords(found->globs);
}

std::string FileTypeList() {
  std::string list;
  for (const FileType& type : kTypes)
    list.append(type.name).append(": ").append(type.globs).append("\n");
  return list;
}

}  // namespace trovex::cli
