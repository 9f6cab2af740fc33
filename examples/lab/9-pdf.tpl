<report dict=lab[1]>
<plugin name=std, lib=vorn-std, init=std_init(app:ifstats), end=std_end()>
<css style=font-family:Helvetica-Bold;font-size:18>
<section id=head, top=0>
<row cstyle='%s'><value dict>title</value></row>
</section>
<css style=font-family:Courier;font-size:10>
<section id=measurement, top=0>
<row cstyle='%-22s %s'><value dict>start</value><value global=%start-time, conv=dateTime></value></row>
<row cstyle='%-22s %12s'><value dict>duration</value><value global=%elapsed-time, conv=time></value></row>
<row cstyle='%-22s %12u'><value dict>frames</value><value link=ifstats@rxFrames></value></row>
<row cstyle='%-22s %12s'><value dict>verdict</value><value plugin=std.verdict(item:rxErrors;high:10), dict></value></row>
</section>
<section id=lines, top=0, bottom=0>
<iterate var=number, from=1, to=ifstats@ports>
<row cstyle='%s %s  %-10s %s'><value dict>line</value><value>${number}</value><value link=port${number}@link></value><value link=port${number}@alarms></value></row>
</iterate>
</section>
</report>
