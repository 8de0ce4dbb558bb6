import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style
import Strataloom.Insights

// The relative risk signals as bars, each against the threshold its tooltip names.
DashboardSection {
    id: section
    Layout.alignment: Qt.AlignTop
    Layout.preferredWidth: 1
    title: "Relative risk signals"
    symbol: "gauge.with.dots.needle.50percent"
    tint: InsightColors.named("purple")
    RiskSignalChart {
        objectName: "riskChart"
        riskSignals: section.presenter.riskSignals
    }
}
