/* Preloaded into the program under test: creating a file dialog ends the process. */
#include <stdlib.h>

/* The two constructors of QFileDialog. */
void _ZN11QFileDialogC1EP7QWidget6QFlagsIN2Qt10WindowTypeEE(void)
{
    abort();
}
void _ZN11QFileDialogC1EP7QWidgetRK7QStringS4_S4_(void)
{
    abort();
}
