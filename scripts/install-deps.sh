#!/usr/bin/env bash
# Installs the Debian packages Marrowleaf needs to build, run and test.
# Idempotent and quiet when everything is already there. With --fuzz, also
# what make fuzz builds with.
set -euo pipefail

packages=(
  build-essential cmake pkg-config git
  libglib2.0-dev libgtk-3-dev libwebkit2gtk-4.1-dev
  libxcb1-dev libxcb-ewmh-dev libxcb-randr0-dev libxcb-xinput-dev libxcb-keysyms1-dev
  # the test harness presses keys itself (XTest), so a benchmark times the key, not a tool starting
  libxcb-xtest0-dev
  libatspi2.0-dev libayatana-appindicator3-dev libnotify-dev libcanberra-dev
  nlohmann-json3-dev libutf8proc-dev libsodium-dev
  libgtest-dev libgmock-dev googletest
  xvfb openbox xdotool wmctrl x11-utils x11-xserver-utils dbus dbus-x11 python3-dbus python3-gi xcompmgr
  # a desktop that shows its icons over AT-SPI, for the desktop probe's tests and figures
  pcmanfm libatk-adaptor
)

# make fuzz also needs clang and the runtime of its libFuzzer.
[ "${1:-}" = "--fuzz" ] && packages+=(clang libclang-rt-14-dev)

# The machine may already carry its own Node.js with npm; Debian's npm would conflict with it.
command -v npm >/dev/null 2>&1 || packages+=(nodejs npm)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "installing: ${missing[*]}"
sudo_cmd=()
[ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
