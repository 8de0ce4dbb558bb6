import QtQuick
import Strataloom

// Loads a screen by module and name, handing it the model. A screen that its module does not
// provide (yet) is replaced by the fallback, so a missing screen never breaks the window.
Loader {
    id: loader

    property var appModel
    property string moduleUri
    property string screenName
    property string fallbackModuleUri: "Strataloom.Screens"
    property string fallbackName: "PlaceholderScreen"
    // Extra initial properties for the fallback (a placeholder's title).
    property var fallbackProperties: ({})
    // Whether the fallback takes the model too (a placeholder does not).
    property bool fallbackTakesModel: fallbackName !== "PlaceholderScreen"

    readonly property url screenUrl: ShellSupport.screenUrl(moduleUri, screenName)
    readonly property bool usesFallback: screenUrl.toString() === ""

    function reload() {
        if (screenName === "") {
            setSource("", {})
            return
        }
        if (!usesFallback) {
            setSource(screenUrl, { appModel: loader.appModel })
            if (status !== Loader.Error)
                return
        }
        const properties = Object.assign(fallbackTakesModel ? { appModel: loader.appModel } : {},
                                         fallbackProperties)
        setSource(ShellSupport.screenUrl(fallbackModuleUri, fallbackName), properties)
    }

    onScreenUrlChanged: reload()
    onScreenNameChanged: reload()
    Component.onCompleted: reload()
}
