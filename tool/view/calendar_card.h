// Events as cards on the page of a message.
#pragma once

#include <string>

#include "tool/view/calendar.h"

namespace emltool {

// Empty if the calendar has no event.
std::string calendarCards(const Calendar& calendar);

}  // namespace emltool
