// The help is written by hand, because it is read by people: first what to type, then what it
// means, then every option.

#include "hosts/cli/command/help.h"

namespace trovex::cli {

std::string HelpText() {
  return R"help(trovex searches German text: several patterns at once, near each other or not there
at all, as regular expressions or by their sound.

Usage: trovex [OPTIONS] EXPRESSION [FILE...]

Without a FILE, or where it is -, the standard input is searched. A folder is searched
with everything below it.

Examples:
  trovex Garten brief.txt                lines with "Garten", in upper or lower case
  trovex 'Haus & Garten' *.txt           both, anywhere in the same file
  trovex --scope line 'Haus & Garten' .  both, in the same line
  trovex 'Haus &20 Garten' .             both, at most 20 bytes between them
  trovex 'Haus & !Garten' .              "Haus" in the files without "Garten"
  trovex -l '!Garten' *.txt              names of the files without "Garten"
  trovex --phonetic --words Maier .      Maier, Meier, Mayr, Meyer ...
  trovex -o --tag 1 '(Herr|Frau) M.ller' .   only what bracket 1 matched

Expressions:
  A & B      both A and B
  A &20 B    both, with at most 20 bytes between a match of A and a match of B. A number
             right behind "&" is always such a distance.
  !A         A must not occur. The "!" reaches up to the next "&".
  ( ... )    puts together what belongs together: 'A & (!B & C)'. The brackets are numbered
             by their "(", from 1 on, for --tag. Text beside a bracket that holds an
             operator is dropped: 'x (A & B)' searches A and B alone. A pattern that begins
             with "(" and ends with ")" loses the two, even in '(A)|(B)': write 'A|B'.
  \& \! \( \) \\   the character itself
  A & B & C is A & (B & C). Blanks around a pattern do not count.

  Every pattern is a regular expression, matched within one line:
  .          any character              A*  A+  A?     none or more, one or more, at most one
  [abc]      one of these               A{2,5}         two to five
  [^abc]     any other                  A|B            A or B
  ^  $       begin and end of a line    \<  \>         begin and end of a word
  \w  \s     a letter (a to z) or digit; white space       \1  what group 1 matched
  \.         an ordinary "."            ()             a group
  There are no class names such as [:alpha:]. With --literal all these are ordinary.

  With --phonetic every pattern is a word, found by its Soundex code for German spelling.

What is searched:
  -p, --phonetic              find words that sound like the patterns
  -w, --words                 whole words only
  -s, --case-sensitive        upper and lower case differ
  -i, --ignore-case           they do not, which is the default
  -F, --literal               the special characters of patterns are ordinary; & ! ( ) stay
  -t, --tag N                 only the matches of bracket N
  -e, --expression EXPRESSION for an expression that begins with "-"
  -S, --scope SCOPE           where "A & B" has to hold: in the file (default), the
                              paragraph (lines between empty lines) or the line
  -E, --encoding ENCODING     auto (default), utf-8 or windows-1252
      --hidden                also hidden files and folders below a folder
  -a, --binary                also binary files below a folder, shown like text
  -j, --jobs N                at most N processes at a time; by default one a core

What is shown:
  -A, --after-context N       N lines behind each line found
  -B, --before-context N      N lines before it
  -C, --context N             both
  -c, --count                 for each file, how many lines match
  -l, --files-with-matches    names of files alone
  -o, --only-matching         the matches alone, each on a line of its own
      --json                  one JSON object a match
  -q, --quiet                 nothing; the exit status tells
  -H, --with-filename         with file names (default, but for the standard input alone)
  -I, --no-filename           without
  -n, --line-number           with line numbers (default)
  -N, --no-line-number        without
      --color, --colour WHEN  auto (default: on a terminal), always or never
      --stats                 a summary on standard error
      --explain               how the expression is understood; nothing is searched
  -h, --help                  this text
  -V, --version               the version

Where something must not occur and nothing more is asked ('!A'), there is no match to show.
What is shown then are the texts without A: names of files, or with --scope the paragraphs
or lines, and --count counts them.

The exit status is 0 when something is found, 1 when nothing is, 2 when there was trouble.
)help";
}

std::string VersionText() {
  return "trovex " TROVEX_VERSION "\n";
}

}  // namespace trovex::cli
