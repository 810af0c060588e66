# For scripts to read in: the product as it is installed. HOME and build are the home and the build folder.
app=$HOME/Applications/Tallyframe.app

# Installs the product with another version.
install_product() {
    rm -rf "$app"
    mkdir -p "$HOME/Applications"
    cp -a "$build/examples/Tallyframe.app" "$HOME/Applications/"
    sed -i "/Version/{n;s/<string>.*</<string>$1</;}" "$app/Contents/Info.plist"
}
