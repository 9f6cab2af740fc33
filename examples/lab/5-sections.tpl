<report>
<section id=head, top=0>
<row cstyle='%s'><value>The lines of the laboratory</value></row>
</section>
<section id=measurement, top=0, bottom=0>
<row cstyle='%-20s %s'><value>Start</value><value global=%start-time, conv=dateTime></value></row>
<row cstyle='%-20s %12s'><value>Duration</value><value global=%elapsed-time, conv=time></value></row>
<row cstyle='%-20s %12u'><value>Frames</value><value link=ifstats@rxFrames></value></row>
<row cstyle='%-20s %12u'><value>Frames with errors</value><value link=ifstats@rxErrors></value></row>
</section>
<section id=reset, bottom=0, enabled-by=ifstats@lastReset>
<row cstyle='%-20s %s'><value>Last reset</value><value link=ifstats@lastReset, conv=dateTime></value></row>
</section>
<section id=noreset, bottom=0, enabled-by=!ifstats@lastReset>
<row cstyle='%s'><value>The instrument was never reset.</value></row>
</section>
</report>
