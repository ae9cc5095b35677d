# From what gcov says of each compilation to one list of files, as gcovr reads it.
#
# A function is seen once for each instance of its template and each file that includes it. What has been run
# in one of them has been run. They are the same branches when they belong to the function that begins at the
# same place and are as many: no instance covers for another one that was compiled to something else.
#
# Input: gcov's documents. $root: the tree, with a slash at its end.

def in_tree: ltrimstr($root) | sub("^([.][.]/)+"; "");

def added: transpose | map(add);

[
  inputs.files[]
  | (.file | in_tree) as $file
  | select($file | startswith("/") | not)
  | (reduce .functions[] as $f ({}; .[$f.name] = "\($f.start_line):\($f.start_column)")) as $starts
  | .lines[]
  | { $file, line: .line_number, count, start: ($starts[.function_name // ""] // ""),
      branches: [.branches[].count] }
]
| group_by(.file)
| map({
    file: .[0].file,
    functions: [],
    lines: group_by(.line) | map({
      line_number: .[0].line,
      count: map(.count) | add,
      "gcovr/noncode": false,
      "gcovr/excluded": false,
      branches: group_by([.start, (.branches | length)])
        | map(map(.branches) | added) | add
        | map({ count: ., fallthrough: false, throw: false })
    })
  })
| { "gcovr/format_version": "0.3", files: . }
