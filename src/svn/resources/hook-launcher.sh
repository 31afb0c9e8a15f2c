#!/bin/sh
# Hook launcher of Kelvarion Server: runs the hook's script, which has the same name with the
# extension .cmd, .bat or .wsf. It is made and removed together with the script; do not change it.
# In a slave, which only its master changes, it refuses instead.

PATH=${PATH:-/usr/local/bin:/usr/bin:/bin}
export PATH
hook=${0##*/}

fail() {
  printf '%s\n' "$hook: $*" >&2
  exit 1
}

role_file=${0%/*}/../ormu.conf
if [ -e "$role_file" ]; then
  [ -r "$role_file" ] || fail "the server may not read ormu.conf"
  role= server= repository=
  while IFS= read -r line; do
    case $line in
    'role = '*) role=${line#* = } ;;
    'server = '*) server=${line#* = } ;;
    'repository = '*) repository=${line#* = } ;;
    esac
  done <"$role_file"
  if [ "$role" != master ]; then
    printf '%s\n' "This repository is a slave, which takes no changes; commit to the master: $repository on $server" >&2
    exit 1
  fi
fi

for extension in cmd bat wsf; do
  script=$0.$extension
  [ -f "$script" ] && break
  script=
done
if [ -z "$script" ]; then
  # As without any hook: revision properties may only change where a hook allows it.
  [ "$hook" = pre-revprop-change ] && fail "there is no script that allows revision properties to change"
  exit 0
fi
name=${script##*/}
[ -r "$script" ] || fail "the server may not read $name"

# The first line without its carriage return: #! interpreter [one argument]
return=$(printf '\r')
blanks=$(printf ' \t')
IFS= read -r first <"$script"
first=${first%"$return"}
case $first in
'#!'*) ;;
*) fail "$name cannot run here: its first line must name the program that runs it, for example #!/bin/sh (batch files and Windows scripts cannot be run)" ;;
esac
first=${first#'#!'}
first=${first#"${first%%[!$blanks]*}"}
interpreter=${first%%[$blanks]*}
argument=${first#"$interpreter"}
argument=${argument#"${argument%%[!$blanks]*}"}
argument=${argument%"${argument##*[!$blanks]}"}
[ -n "$interpreter" ] || fail "the first line of $name names no program"
[ -x "$interpreter" ] || fail "$name cannot run: there is no program $interpreter on this machine"

# Interpreters take a carriage return for part of the command: such a script runs from a copy.
if grep -q "$return\$" "$script"; then
  copy=$(mktemp "${TMPDIR:-/tmp}/kelvarion-hook.XXXXXX") || fail "cannot make a copy of $name"
  trap 'rm -f "$copy"' EXIT
  trap 'exit 129' HUP
  trap 'exit 130' INT
  trap 'exit 143' TERM
  sed "s/$return\$//" "$script" >"$copy" || fail "cannot make a copy of $name"
  "$interpreter" ${argument:+"$argument"} "$copy" "$@"
  exit $?
fi
exec "$interpreter" ${argument:+"$argument"} "$script" "$@"
