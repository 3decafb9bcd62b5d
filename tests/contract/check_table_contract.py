#!/usr/bin/env python3
"""Compiles tests/contract/table_definition.cpp with the flags the build uses for a MIB module
(from compile_commands.json): the complete definition must compile, and each definition missing
or misdeclaring a member must fail with a message that names that member."""
import concurrent.futures
import json
import pathlib
import shlex
import subprocess
import sys

# (macro, text the compiler's message must contain)
VARIANTS = [
    ("DROP_name", "missing `static constexpr const char* name`"),
    ("DROP_tableOid", "missing `static constexpr oid tableOid[]`"),
    ("DROP_indexes", "missing `static constexpr IndexObject indexes[]`"),
    ("DROP_columns", "missing `static constexpr unsigned columns[]`"),
    ("BREAK_columns", "`columns` must be ascending and without gaps"),
    ("DROP_Map", "missing `using Map = ...`"),
    ("DROP_rows", "missing `static const Map& rows(const Root&)`"),
    ("DROP_keyTypeName", "missing `static constexpr const char* keyTypeName`"),
    ("DROP_keyFromHint", "missing `static Key keyFromHint(const HintValues&)`"),
    ("DROP_writeIndexes", "missing `static void writeIndexes(IndexWriter&, const Key&)`"),
    ("DROP_answer", "missing `static bool answer(ColumnAnswer&"),
    ("DROP_mibModule", "missing `static Module& mibModule()`"),
    ("BREAK_keep", "`keep` must be `static bool keep(const Map::ConstIterator&)`"),
    ("BREAK_setRefusal", "`setRefusal` must be a `static constexpr const char*`"),
]


def head(text: str, lines: int) -> str:
    return "".join(text.splitlines(True)[:lines])


def main() -> int:
    build, source = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]).resolve()
    commands = json.loads((build / "compile_commands.json").read_text())
    model = next(c for c in commands if c["file"].endswith("mib/LldpXdot3MIB.cpp"))
    args = shlex.split(model["command"]) if "command" in model else list(model["arguments"])
    # The compiler and its flags, without the launcher, output and input of the model unit.
    flags, skip = [], False
    for arg in args[1:] if "ccache" in pathlib.Path(args[0]).name else args:
        if skip:
            skip = False
        elif arg in ("-o", "-c", "-MF", "-MT", "-MQ"):
            skip = arg != "-c"
        elif arg.endswith("LldpXdot3MIB.cpp") or arg in ("-MD", "-MMD"):
            continue
        else:
            flags.append(arg)

    def compile_with(macro):
        extra = [f"-D{macro}"] if macro else []
        run = subprocess.run(flags + extra + ["-fsyntax-only", str(source)],
                             cwd=model["directory"], capture_output=True, text=True)
        return run.returncode, run.stderr

    failures = []
    with concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
        results = dict(zip([None] + [m for m, _ in VARIANTS],
                           pool.map(compile_with, [None] + [m for m, _ in VARIANTS])))
    rc, err = results[None]
    if rc != 0:
        failures.append(f"the complete definition does not compile:\n{head(err, 20)}")
    for macro, expected in VARIANTS:
        rc, err = results[macro]
        if rc == 0:
            failures.append(f"{macro}: compiled, but the contract should refuse it")
        elif expected not in err:
            failures.append(f"{macro}: refused without naming the member ({expected!r}):\n"
                            f"{head(err, 12)}")
    for failure in failures:
        print(failure)
    print(f"table contract: {len(VARIANTS) + 1 - len(failures)} of {len(VARIANTS) + 1} as expected")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
