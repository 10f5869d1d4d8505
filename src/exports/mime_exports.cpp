// The exported names of the MIME reader, each one forward. What is exported is listed in emlmime.map.
#include <emlreader/eml_mime.h>
