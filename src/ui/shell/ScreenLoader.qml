import QtQuick
import Strataloom

// Loads a screen by module and name, handing it the model. A screen that its module does not
// provide (yet), or that fails to load, is replaced by the fallback, so a missing screen never
// breaks the window.
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

    // Whether the fallback stands in for the screen.
    property bool loadingFallback: false
    // What was last asked for, so that a module and a name changing together load once.
    property string loadedKey: ""
    // Nothing loads before every property of the loader has its first value.
    property bool completed: false

    function loadFallback() {
        loadingFallback = true
        const properties = Object.assign(fallbackTakesModel ? { appModel: loader.appModel } : {},
                                         fallbackProperties)
        setSource(ShellSupport.screenUrl(fallbackModuleUri, fallbackName), properties)
    }

    // Reads the module and the name afresh: derived bindings may not have caught up while the
    // two change one after the other.
    function reload() {
        if (!completed)
            return
        const url = moduleUri === "" || screenName === "" ? "" : ShellSupport.screenUrl(moduleUri, screenName).toString()
        const key = moduleUri === "" || screenName === "" ? "" : moduleUri + "/" + screenName + "/" + url
        if (key === loadedKey && status !== Loader.Null)
            return
        loadedKey = key
        loadingFallback = false
        if (key === "")
            setSource("", {})
        else if (url === "")
            loadFallback()
        else {
            setSource(url, { appModel: loader.appModel })
            if (status === Loader.Error)
                loadFallback()
        }
    }

    onModuleUriChanged: reload()
    onScreenNameChanged: reload()
    // Finishing a background build at once can lose the initial properties (Loader starts
    // over from the source): make sure the screen has the model.
    onLoaded: {
        if (item && "appModel" in item && (!loadingFallback || fallbackTakesModel) && item.appModel !== appModel)
            item.appModel = appModel
    }
    // A screen built in the background can fail only later.
    onStatusChanged: if (status === Loader.Error && !loadingFallback) loadFallback()
    Component.onCompleted: {
        completed = true
        reload()
    }
}
