#!/usr/bin/env python3
"""Import speed of `strataloom-cli index` against the per-commit method, in one run.

  import_benchmark.py [--commits N] [--append K] [--cli PATH] [--work DIR]

Generates a history with the shared history generator, then times on the same machine:
  * baseline: two `git diff-tree` processes per commit (numstat and name-status), the way
    the index was first defined;
  * floor: the single `git log` pass the importer reads, alone;
  * the full import (`strataloom-cli index`) into a fresh index;
  * an incremental run after K more commits, and an up-to-date run.
Reports seconds, commits per second and ratios, and the peak memory of the importer process.
"""

import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(HERE)
GENERATOR = os.path.join(ROOT, "..", "shared", "tools", "make-history.py")


def timed(command, **kwargs):
    start = time.perf_counter()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, **kwargs)
    return time.perf_counter() - start


def timed_with_peak(command):
    """Runs command and samples its own resident memory (not its children's) until it ends."""
    start = time.perf_counter()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    peak = 0
    while process.poll() is None:
        try:
            with open(f"/proc/{process.pid}/status") as status:
                for line in status:
                    if line.startswith("VmHWM:"):
                        peak = max(peak, int(line.split()[1]))
        except OSError:
            pass
        time.sleep(0.02)
    if process.returncode != 0:
        raise SystemExit(f"{command[0]} failed with status {process.returncode}")
    return time.perf_counter() - start, peak


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--commits", type=int, default=20000)
    parser.add_argument("--append", type=int, default=500)
    parser.add_argument("--cli", default=os.path.join(ROOT, "build", "src", "cli", "strataloom-cli"))
    parser.add_argument("--work", default=None)
    args = parser.parse_args()

    work = args.work or tempfile.mkdtemp(prefix="strataloom-import-bench-")
    repo = os.path.join(work, f"history-{args.commits}")
    if not os.path.isdir(repo):
        print(f"generating {args.commits} commits ...", file=sys.stderr)
        subprocess.run([sys.executable, GENERATOR, repo, "--commits", str(args.commits),
                        "--seed", "42", "--repack"], check=True, stdout=subprocess.DEVNULL)
    git = ["git", "-C", repo]
    shas = subprocess.run(git + ["rev-list", "--all", "--reverse"], check=True,
                          capture_output=True, text=True).stdout.split()
    count = len(shas)

    start = time.perf_counter()
    for sha in shas:
        for mode in ("--numstat", "--name-status"):
            subprocess.run(git + ["diff-tree", "--root", "-r", mode, "--find-renames",
                                  "--no-commit-id", sha], check=True, stdout=subprocess.DEVNULL)
    baseline = time.perf_counter() - start

    log_only = timed(git + ["log", "--no-walk=unsorted", "--stdin", "-z", "--raw", "--numstat",
                            "--find-renames", "--root", "--no-abbrev", "--diff-algorithm=myers",
                            "--format=%x1e%H%x1f%P%x1f%an%x1f%ae%x1f%cn%x1f%ce%x1f%at%x1f%ct%x1f%s%x1f%B%x1d"],
                     input="\n".join(reversed(shas)).encode())

    index_dir = os.path.join(work, "index")
    shutil.rmtree(index_dir, ignore_errors=True)
    full, peak = timed_with_peak([args.cli, "index", repo, "--index-dir", index_dir])

    subprocess.run([sys.executable, GENERATOR, repo, "--append", str(args.append), "--seed", "43"],
                   check=True, stdout=subprocess.DEVNULL)
    incremental = timed([args.cli, "index", repo, "--index-dir", index_dir])
    up_to_date = timed([args.cli, "index", repo, "--index-dir", index_dir])

    print(f"commits                      {count}")
    print(f"baseline (2 diff-tree/commit) {baseline:8.2f} s  {count / baseline:9.0f} commits/s")
    print(f"git log pass alone           {log_only:8.2f} s  {count / log_only:9.0f} commits/s")
    print(f"full import                  {full:8.2f} s  {count / full:9.0f} commits/s")
    print(f"  speed-up over baseline     {baseline / full:8.1f} x")
    print(f"  import / git log pass      {full / log_only:8.2f}")
    print(f"  importer peak memory       {peak / 1024:8.0f} MiB (git itself not counted)")
    print(f"incremental (+{args.append})          {incremental:8.2f} s")
    print(f"up to date                   {up_to_date:8.2f} s")


if __name__ == "__main__":
    main()
