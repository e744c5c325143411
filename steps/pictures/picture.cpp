#include "steps/pictures/picture.h"
