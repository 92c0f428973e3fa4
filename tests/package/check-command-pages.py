#!/usr/bin/env python3
"""check-command-pages.py TALVO LIBRARY PAGES_FOLDER HELP_TOPICS_FILE [--update]

Checks the reference manual of the statistics package (docs/commands/*.md):

- every page has the sections a help page needs (a title naming the command,
  "Calling sequence", "Description", "Examples") and at least one example;
- every command that help() lists (the _HelpTopics list of package/help.tv)
  has a page, and every page is such a command;
- every example block runs: the lines of a ```talvo block that start with
  "> " are statements, the lines after each are what it prints.  The
  statements of a block run as one script through talvo (with the library and
  the package) in a scratch folder of their own, and what the script prints
  must be what the page shows.

With --update, the pages' printed lines are rewritten from what talvo prints
(to review with git diff before committing).
"""
import os
import re
import subprocess
import sys
import tempfile


def blocks(text):
    """The example blocks of a page: lists of (statement, [printed lines])."""
    out = []
    lines = text.split("\n")
    i = 0
    while i < len(lines):
        if lines[i].strip() == "```talvo":
            j = i + 1
            block = []
            while j < len(lines) and lines[j].strip() != "```":
                line = lines[j]
                if line.startswith("> "):
                    block.append([line[2:], []])
                elif block:
                    block[-1][1].append(line)
                else:
                    raise ValueError("a block must start with a statement (> ...)")
                j += 1
            out.append((i, j, block))
            i = j + 1
        else:
            i += 1
    return out


def run(talvo, lib, statements):
    with tempfile.TemporaryDirectory() as scratch:
        script = os.path.join(scratch, "example.tv")
        with open(script, "w") as f:
            f.write("\n".join(statements) + "\n")
        p = subprocess.run([talvo, "--lib", lib, script], cwd=scratch, capture_output=True, text=True, timeout=300)
        printed = (p.stdout + p.stderr).replace(scratch, "SCRATCH")
        return p.returncode, printed.rstrip("\n").split("\n") if printed.strip() else []


def topics(path):
    text = open(path).read()
    m = re.search(r"_HelpTopics := \[(.*?)\]:", text, re.S)
    return re.findall(r'"([^"]+)"', m.group(1))


def main():
    talvo, lib, folder, help_file = [os.path.abspath(a) for a in sys.argv[1:5]]
    update = "--update" in sys.argv[5:]
    failures = 0
    names = set(topics(help_file))
    pages = sorted(f[:-3] for f in os.listdir(folder) if f.endswith(".md"))
    for n in sorted(names - set(pages)):
        print("command %s has no page %s.md" % (n, n))
        failures += 1
    for n in sorted(set(pages) - names):
        print("page %s.md is not a command help() lists" % n)
        failures += 1
    examples = 0
    for name in pages:
        path = os.path.join(folder, name + ".md")
        text = open(path).read()
        for section in ("## Calling sequence", "## Description", "## Examples"):
            if section not in text:
                print("%s.md lacks the section %s" % (name, section))
                failures += 1
        if not text.startswith("# " + name + "\n"):
            print("%s.md must start with the title # %s" % (name, name))
            failures += 1
        found = blocks(text)
        if not found:
            print("%s.md has no example" % name)
            failures += 1
        lines = text.split("\n")
        for start, end, block in reversed(found):
            statements = [s for s, _ in block]
            status, printed = run(talvo, lib, statements)
            expected = [l for _, out in block for l in out]
            examples += len(statements)
            if status != 0:
                print("%s.md, block at line %d: talvo stopped with status %d:\n  %s"
                      % (name, start + 1, status, "\n  ".join(printed)))
                failures += 1
                continue
            if printed != expected:
                if update:
                    # Put each statement's printed lines after it: the script
                    # prints in statement order, so the lines are cut by
                    # running the statements one prefix at a time.
                    new_block, before = [], []
                    for k in range(len(statements)):
                        _, upto = run(talvo, lib, statements[:k + 1])
                        new_block.append("> " + statements[k])
                        new_block.extend(upto[len(before):])
                        before = upto
                    lines[start + 1:end] = new_block
                else:
                    print("%s.md, block at line %d prints:\n  %s\nbut the page shows:\n  %s"
                          % (name, start + 1, "\n  ".join(printed), "\n  ".join(expected)))
                    failures += 1
        if update:
            with open(path, "w") as f:
                f.write("\n".join(lines))
    print("%d pages, %d example statements, %d failures" % (len(pages), examples, failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
