# Puts the sources of a compile database together, so that clang-tidy reads and checks the headers that they
# share once and not for each of them: awk -v repo=DIR -v out=DIR -f tidy_batches.awk compile_commands.json
#
#   out/files/compile_commands.json     every source of the tree once, as it is built first
#   out/batches/<folder>/<n>.cpp        sources of one folder and with the same flags, one behind the other
#   out/batches/<folder>/<n>.cpp.files  their names
#   out/batches/compile_commands.json
#
# A batch has to be one translation unit. Sources stay apart in which one declares for itself what the other
# one speaks of too; this goes by the names alone and knows only code that is formatted like this tree's. Where
# it is mistaken the batch does not compile, and its sources are to be checked one by one.
BEGIN {
    limit = 12
    files_db = out "/files/compile_commands.json"
    batches_db = out "/batches/compile_commands.json"
    printf "[" >files_db
    printf "[" >batches_db
}

$1 == "\"directory\":" { directory = value() }
$1 == "\"command\":" { command = value() }
$1 == "\"file\":" { add(value()) }

END {
    for (batch = 1; batch <= batches; ++batch) {
        entry(batches_db, batch, directory_of[batch], flags_of[batch] " -c " path_of[batch], path_of[batch])
        close(path_of[batch])
    }
    print "\n]" >files_db
    print "\n]" >batches_db
}

# The text of a line `"name": "text",`, with its escapes: it is written as it was read.
function value() {
    sub(/^[^:]*: "/, "")
    sub(/",?$/, "")
    return $0
}

function entry(db, number, dir, cmd, file) {
    printf "%s\n{ \"directory\": \"%s\",\n  \"command\": \"%s\",\n  \"file\": \"%s\" }",
        (number > 1 ? "," : ""), dir, cmd, file >db
}

function add(file,    flags, folder, batch) {
    if (file in seen || index(file, repo "/") != 1 || index(file, repo "/build/") == 1) {
        return
    }
    seen[file] = 1
    entry(files_db, ++sources, directory, command, file)

    flags = command
    sub(/ -o [^ ]+ -c [^ ]+$/, "", flags)
    sub(/ -Wshadow/, "", flags) # one source's names behind another's: the compilers look for it
    folder = substr(file, length(repo) + 2)
    sub(/\/[^\/]*$/, "", folder)
    read_names(file)
    batch = 0
    if (file ~ /\.cpp$/) {
        for (batch = batches; batch > 0 && !fits(batch, folder, flags); --batch) {
        }
    }
    if (batch == 0) {
        batch = ++batches
        folder_of[batch] = folder
        flags_of[batch] = flags
        directory_of[batch] = directory
        path_of[batch] = out "/batches/" folder "/" batch (file ~ /\.cpp$/ ? ".cpp" : ".c")
        system("mkdir -p '" out "/batches/" folder "'")
    }
    append(batch, file)
}

function fits(batch, folder, flags,    name) {
    if (folder_of[batch] != folder || flags_of[batch] != flags || members[batch] >= limit) {
        return 0
    }
    for (name in own) {
        if ((batch, name) in batch_words) {
            return 0
        }
    }
    for (name in words) {
        if ((batch, name) in batch_own) {
            return 0
        }
    }
    return 1
}

function append(batch, file,    line, name) {
    ++members[batch]
    for (name in own) {
        batch_own[batch, name] = 1
    }
    for (name in words) {
        batch_words[batch, name] = 1
    }
    printf "#line 1 \"%s\"\n", file >path_of[batch]
    while ((getline line <file) > 0) {
        print line >path_of[batch]
    }
    close(file)
    print file >>(path_of[batch] ".files")
    close(path_of[batch] ".files")
}

# own: what a source declares for itself, in an unnamed namespace or as its own constant, type or short name;
# words: all that it speaks of.
function read_names(file,    line, unnamed) {
    split("", own)
    split("", words)
    while ((getline line <file) > 0) {
        if (line ~ /^namespace \{/) {
            unnamed = 1
        } else if (line ~ /^} \/\/ namespace/) {
            unnamed = 0
        }
        sub(/\/\/.*/, "", line)
        add_words(line)
        if (line ~ /^(struct|class|union|enum|using|static|const|constexpr|inline) / ||
            unnamed && line ~ /^[A-Za-z]/ && line !~ /^TEST/) {
            add_own(line)
        }
    }
    close(file)
}

function add_words(line,    name) {
    while (match(line, /[A-Za-z_][A-Za-z_0-9]*/)) {
        name = substr(line, RSTART, RLENGTH)
        line = substr(line, RSTART + RLENGTH)
        words[name] = 1
    }
}

# The name behind a keyword, or the names in front of a bracket, an initialiser or the end.
function add_own(line,    name, rest) {
    if (match(line, /^(struct|class|union|enum class|enum|using) [A-Za-z_0-9]+/)) {
        name = substr(line, RSTART, RLENGTH)
        sub(/.* /, "", name)
        if (name != "namespace") {
            own[name] = 1
        }
        return
    }
    while (match(line, /[A-Za-z_][A-Za-z_0-9]*( =|[\[({;])/)) {
        name = substr(line, RSTART, RLENGTH)
        rest = substr(line, RSTART + RLENGTH)
        sub(/[^A-Za-z_0-9]*$/, "", name)
        own[name] = 1
        if (line ~ /\(/) { # a function: what follows are its parameters
            return
        }
        line = rest
    }
}
