// The whole public interface of modelcore, and nothing else.
#pragma once

#include "modelcore/modelcore_export.h"
