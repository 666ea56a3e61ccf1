// The text of the skeleton registry. Deliberate: its mixed indentation is kept byte for byte, so that the
// files of fresh devices stay identical to those in the field.
#include "registry/skeleton.h"

namespace kalto {

const char kSkeleton[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                         "<Registry>\n"
                         " <k Name=\"000 README\" Note=\"Names not case sensitive, but ARE sorted\" />\n"
                         " <k Name=\"HKEY_LOCAL_MACHINE\">\n"
                         "  <k Name=\"Software\">\n"
                         "   <k Name=\"Velmoran\">\n"
                         "    <k Name=\"Lumetra\">\n"
                         "     <k Name=\"LMQ\">\n"
                         "      <k Name=\"AvailableRules\" />\n"
                         "      <k Name=\"OrderedRules\" />\n"
                         "      <k Name=\"States\">\n"
                         "       <k Name=\"Error\">\n"
                         "\t <v Name=\"Light\" value=\"0\" type=\"REG_SZ\" />\n"
                         "\t</k>\n"
                         "\t<k Name=\"Ready to Work\">\n"
                         "\t <v Name=\"Light\" value=\"255\" type=\"REG_SZ\" />\n"
                         "       </k>\n"
                         "\t<k Name=\"Warning/Working\">\n"
                         "\t <v Name=\"Light\" value=\"1\" type=\"REG_SZ\" />\n"
                         "       </k>\n"
                         "      </k>\n"
                         "     </k>\n"
                         "    </k>\n"
                         "   </k>\n"
                         "  </k>\n"
                         " </k>\n"
                         "</Registry>\n";
const size_t kSkeletonSize = sizeof kSkeleton - 1;

} // namespace kalto
