<report>
<row cstyle='%s'><value>The lines of the laboratory</value></row>
</report>
