// Must not compile: the core sees no Qt header.
#include <QWidget>
