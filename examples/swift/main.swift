// The library from Swift: the output of a tool, the log, the Trash.
//   swiftc -F FOLDER -framework QuillmoorKX -Xlinker -rpath -Xlinker FOLDER main.swift
// FOLDER has QuillmoorKX.framework.
import Foundation
import QuillmoorKX

KXLog.createNewLog()
// Swift has no methods with a variable number of arguments; this one takes the finished message.
func log(_ message: String) {
    print(message)
    KXLog.sharedController()?.appendText(toLog: message)
}

// Empty if the tool could not be started, nil if what it printed is not valid UTF-8.
guard let system = KXTaskEx.string(fromTask: "/usr/bin/uname", arguments: ["-srm"]), !system.isEmpty else {
    log("uname has printed nothing")
    KXLog.finishWriting()
    exit(1)
}
log("Running on \(system.trimmingCharacters(in: .whitespacesAndNewlines))")

let path = NSTemporaryDirectory() + "QuillmoorKX example \(UUID().uuidString).txt"
guard FileManager.default.createFile(atPath: path, contents: Data("An example\n".utf8)) else {
    log("Could not be created: \(path)")
    KXLog.finishWriting()
    exit(1)
}
let isMoved = KXFileManager.trashFile(path)
log(isMoved ? "Moved to the Trash: \(path)" : "Could not be moved to the Trash: \(path)")
KXLog.finishWriting()
exit(isMoved ? 0 : 1)
