<report dict=texts[1]>
<row cstyle='%s%s%s'><value>one</value><value>, </value><value>two</value></row>
<row cstyle='%s %s %s'><value>1</value><value dict>less</value><value>2</value></row>
<row cstyle='%s'><value dict>reference</value></row>
<row cstyle="%s isn't"><value>it</value></row>
<row cstyle='%s %%'><value>100</value></row>
<row cstyle='%s%s'><value>A text of at most 63 characters in each value, and the next va</value><value>lue goes on.</value></row>
</report>
