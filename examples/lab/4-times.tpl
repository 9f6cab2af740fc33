<report>
<row cstyle='%s'><value>The lines of the laboratory</value></row>
<row cstyle='%-20s %12u'><value>Frames</value><value link=ifstats@rxFrames></value></row>
<row cstyle='%-20s %12u'><value>Frames with errors</value><value link=ifstats@rxErrors></value></row>
<row cstyle='%-20s %12.1f C'><value>Room temperature</value><value link=ifstats@room></value></row>
<row cstyle='%-20s %s'><value>Start</value><value global=%start-time, conv=dateTime></value></row>
<row cstyle='%-20s %12s'><value>Duration</value><value global=%elapsed-time, conv=time></value></row>
<row cstyle='%-20s %12s'><value>Data</value><value link=ifstats@rxBytes, conv=units(B=1:%.0f;kB=1000:%.1f;MB=1e6;GB=1e9)></value></row>
<row cstyle='%-20s %12s'><value>Rate</value><value link=ifstats@rxBytes:rate, conv=units(bit/s=1:%.0f;kbit/s=1000:%.1f;Mbit/s=1e6)></value></row>
</report>
