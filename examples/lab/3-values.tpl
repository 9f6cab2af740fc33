<report>
<row cstyle='%s'><value>The lines of the laboratory</value></row>
<row cstyle='%-20s %12u'><value>Frames</value><value link=ifstats@rxFrames></value></row>
<row cstyle='%-20s %12u'><value>Frames with errors</value><value link=ifstats@rxErrors></value></row>
<row cstyle='%-20s %12.1f'><value>Room temperature</value><value link=ifstats@room></value></row>
<row cstyle='%-20s %12u'><value>Last reset</value><value link=ifstats@lastReset></value></row>
</report>
