// files.cpp -- file builtins of the host language: read (run the statements
// of a file), readfolder, readfile and writefile.
//
// A relative path given to read, readfile or writefile inside a file being
// read is taken from that file's folder, so a package can read its own parts
// wherever it is installed; elsewhere it is taken from the working folder.
#include "errors.hpp"
#include "eval.hpp"
#include "host.hpp"
#include "parse.hpp"
#include "print.hpp"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace talvo {

namespace {

// The folders of the files being read, innermost last.
std::vector<std::string> &reading()
{
    static std::vector<std::string> folders;
    return folders;
}

struct ReadingScope {
    explicit ReadingScope(std::string folder) { reading().push_back(std::move(folder)); }
    ~ReadingScope() { reading().pop_back(); }
    ReadingScope(const ReadingScope &) = delete;
    ReadingScope &operator=(const ReadingScope &) = delete;
};

size_t count_of(ALGEB args) { return is_expseq(args) ? nops(args) : 1; }

std::string path_argument(ALGEB args, size_t i, const char *fname)
{
    ALGEB p = seq_elem(args, i);
    if (!is_string(p) || string_text(p).empty())
        raise(std::string(fname) + " expects a file name as a string, got %1", p);
    std::string path(string_text(p));
    if (path[0] != '/' && !reading().empty())
        path = reading().back() + "/" + path;
    return path;
}

std::string folder_of(const std::string &path)
{
    char buf[PATH_MAX];
    std::string full = realpath(path.c_str(), buf) != nullptr ? std::string(buf) : path;
    size_t slash = full.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : full.substr(0, slash);
}

bool read_text(const std::string &path, std::string *out)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    std::ostringstream ss;
    ss << in.rdbuf();
    *out = ss.str();
    return !in.bad();
}

// read(file): runs the statements of the file in turn, printing the value of
// each one that ends with ';' as the top level does, and returns NULL.  The
// first error stops the reading and goes on to the statement that called read.
ALGEB b_read(ALGEB args)
{
    if (count_of(args) != 1)
        raise("read expects 1 argument, but received %1", make_integer(intptr_t(count_of(args))));
    std::string path = path_argument(args, 1, "read");
    std::string text;
    if (!read_text(path, &text))
        raise("cannot read %1: " + std::string(std::strerror(errno)), make_string(path));
    ReadingScope scope(folder_of(path));
    Parser parser(text);
    for (;;) {
        ParsedStatement st;
        try {
            if (!parser.next(&st))
                break;
        } catch (HostError &e) {
            e.message += " in " + path;
            throw;
        }
        ALGEB value = eval(st.stmt);
        if (st.print) {
            std::string s = statement_display(st.stmt, value);
            if (!s.empty()) {
                std::fputs(s.c_str(), stdout);
                std::fputc('\n', stdout);
            }
        }
    }
    return null_seq();
}

// readfolder(): the folder (an absolute path) of the file being read, or
// NULL when no file is being read.
ALGEB b_readfolder(ALGEB args)
{
    if (count_of(args) != 0)
        raise("readfolder expects no arguments, but received %1", make_integer(intptr_t(count_of(args))));
    if (reading().empty())
        return null_seq();
    return make_string(reading().back());
}

// readfile(file): the whole text of the file as a string.
ALGEB b_readfile(ALGEB args)
{
    if (count_of(args) != 1)
        raise("readfile expects 1 argument, but received %1", make_integer(intptr_t(count_of(args))));
    std::string path = path_argument(args, 1, "readfile");
    std::string text;
    if (!read_text(path, &text))
        raise("cannot read %1: " + std::string(std::strerror(errno)), make_string(path));
    return make_string(text);
}

// writefile(file, text): writes the string to the file, replacing what it
// held, and returns NULL.
ALGEB b_writefile(ALGEB args)
{
    if (count_of(args) != 2)
        raise("writefile expects 2 arguments, but received %1", make_integer(intptr_t(count_of(args))));
    std::string path = path_argument(args, 1, "writefile");
    ALGEB text = seq_elem(args, 2);
    if (!is_string(text))
        raise("writefile expects the text to write as a string, got %1", text);
    FILE *f = std::fopen(path.c_str(), "wb");
    if (f == nullptr)
        raise("cannot write %1: " + std::string(std::strerror(errno)), make_string(path));
    std::string_view t = string_text(text);
    bool ok = std::fwrite(t.data(), 1, t.size(), f) == t.size();
    int saved = errno;
    ok = std::fclose(f) == 0 && ok;
    if (!ok)
        raise("cannot write %1: " + std::string(std::strerror(saved != 0 ? saved : errno)), make_string(path));
    return null_seq();
}

} // namespace

void define_file_builtins()
{
    define_builtin("read", b_read);
    define_builtin("readfolder", b_readfolder);
    define_builtin("readfile", b_readfile);
    define_builtin("writefile", b_writefile);
}

} // namespace talvo
