#!/usr/bin/env bash
# Fails when operating-system headers are included outside the platform layer. The library above
# Core/platform, the front end and the helper speak only the platform's vocabulary; the platform's
# own headers are portable too, so that nothing that includes them inherits the system's types.
# dff/ stands alone and keeps its own small seam. Tests and benchmarks build their fixtures with
# system calls on purpose and are not checked.
set -euo pipefail
cd "$(dirname "$0")/.."

os_headers='sys/[a-z_/]+|unistd|fcntl|dirent|malloc|pwd|grp|signal|spawn|poll|fts|ftw|termios|dlfcn|pthread|sched|mntent|utime|glob|wordexp|syslog|ifaddrs|err|link|linux/[a-z_/]+|netinet/[a-z_]+|arpa/[a-z_]+|net/[a-z_]+'
pattern="^[[:space:]]*#[[:space:]]*include[[:space:]]*<(${os_headers})\.h>"

folders=()
for folder in Core cli helper; do
  [ -d "$folder" ] && folders+=("$folder")
done

offenders=$(grep -rnE --include='*.h' --include='*.cpp' "$pattern" "${folders[@]}" |
  grep -vE '^Core/platform/[^:]+\.cpp:' || true)
if [ -n "$offenders" ]; then
  echo "operating-system headers outside Core/platform (move the call behind the platform):" >&2
  echo "$offenders" >&2
  exit 1
fi
echo "no operating-system headers outside Core/platform"
