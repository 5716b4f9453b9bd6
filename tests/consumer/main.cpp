#include "modelcore/modelcore.h"

int main()
{
    return 0;
}
