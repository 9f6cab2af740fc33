<report dict=texts[1]>
<css style=font-family:Helvetica-Bold;font-size:18>
<section id=title, top=0>
<row cstyle='%s'><value dict>title</value></row>
</section>
<css style=font-family:Times-Italic;font-size:12>
<row cstyle='%s'><value>A line of the receiver carries frames of 64 to 1518 bytes.</value></row>
<css style=font-family:Courier-Bold;font-size:10>
<section id=head, bottom=0>
<row cstyle='%-12s %12s %8s'><value dict>line</value><value dict>frames</value><value dict>errors</value></row>
</section>
<css style=font-family:Courier>
<iterate var=n, from=1, to=ifstats@ports>
<row cstyle='%-12s %12u %8u'><value>${n}</value><value link=port${n}@rxFrames></value><value link=port${n}@rxErrors></value></row>
</iterate>
</report>
