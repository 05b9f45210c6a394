#include "app/viewer/flights.h"

#include "kernel/main/settings.h"

#include <QApplication>
#include <QStyle>

namespace tov::viewer {

namespace {

constexpr int FlightMs = 250;
const QString FlightsKey = QStringLiteral("window/flights");

} // namespace

bool areFlightsEnabled()
{
    return tovSettings().value(FlightsKey, true).toBool() &&
           QApplication::style()->styleHint(QStyle::SH_Widget_Animation_Duration) > 0;
}

void setFlightsEnabled(bool enabled)
{
    tovSettings().setValue(FlightsKey, enabled);
}

int flightDuration()
{
    return areFlightsEnabled() ? FlightMs : 0;
}

} // namespace tov::viewer
