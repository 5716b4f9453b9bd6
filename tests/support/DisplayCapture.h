// Collects what is written to the diagnostic text stream while it lives.
#pragma once

#include "modelcore/common/MCDisplay.h"

#include <ostream>
#include <sstream>
#include <string>

class DisplayCapture {
public:
    DisplayCapture() : fpBefore(MCDisplay_930::SetDisplayStream(&fText)) {}
    ~DisplayCapture() { MCDisplay_930::SetDisplayStream(fpBefore); }
    DisplayCapture(const DisplayCapture&) = delete;
    DisplayCapture& operator=(const DisplayCapture&) = delete;

    std::ostream& Stream() { return fText; }
    std::string Text() const { return fText.str(); }

private:
    std::ostringstream fText;
    std::ostream* fpBefore;
};

/// What an object writes by its Display.
template <class T>
std::string Shown(const T& object)
{
    DisplayCapture capture;
    object.Display();
    return capture.Text();
}
