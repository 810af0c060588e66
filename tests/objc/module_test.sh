#!/bin/sh
# Makes the framework's headers and module map as a product gets them, and has the compiler check them:
# imported as a module, each header alone, and that the umbrella header leaves none out.
#   module_test.sh SOURCES CLANG OPTION...
set -eu
sources=$1/objc
clang=$2
shift 2

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
framework=$folder/QuillmoorKX.framework
mkdir -p "$framework/Headers" "$framework/Modules"
cp "$sources"/KX*.h "$sources/QuillmoorKX.h" "$framework/Headers"
cp "$sources/module.modulemap" "$framework/Modules"

check() {
    "$clang" "$@" -fsyntax-only -F "$folder" -Werror -Wno-unused-command-line-argument
}

cat >"$folder/user.m" <<'EOF'
@import QuillmoorKX;
int main(void) {
    NSString *text = [KXTaskEx stringFromTask:@"/bin/echo" arguments:nil];
    [KXLog appendLog:@"%@", [KXLocalPaths libraryDirectory:YES]];
    [KXException didTimeout:nil];
    [KXFailure clearLastFailure];
    BOOL moved = [[KXAuthorization sharedController] authMoveFile:text toPath:nil];
    return [KXFileManager moveFile:text toPath:nil timeout:30] && moved ? 0 : 1;
}
EOF
check "$@" -fmodules -fmodules-cache-path="$folder/cache" -Wnullability-completeness \
    -Wincomplete-umbrella "$folder/user.m"
echo "the module can be imported"

for header in "$framework"/Headers/*.h; do
    name=$(basename "$header")
    for language in objective-c objective-c++; do
        printf '#import <QuillmoorKX/%s>\n' "$name" >"$folder/alone.m"
        check "$@" -x $language -Wall -Wextra -Wnullability-completeness "$folder/alone.m"
    done
done
echo "each header can be imported alone, in both languages"

# A header that the umbrella header leaves out is noticed.
echo '@class NSString;' >"$framework/Headers/KXForgotten.h"
rm -rf "$folder/cache"
if check "$@" -fmodules -fmodules-cache-path="$folder/cache" -Wincomplete-umbrella \
    "$folder/user.m" 2>"$folder/errors"; then
    echo "a header outside of the umbrella header was not noticed" >&2
    exit 1
fi
grep -q "KXForgotten.h" "$folder/errors"
echo "a forgotten header is noticed"
