"""Sends the first mail of the demonstration, through its own server: demo_mail.py PORT

Some is delivered, one is kept aside as spam, one comes back, and some waits: for hosts of which the
demonstration's transport map says that they are not reached."""
import email.message
import email.utils
import smtplib
import subprocess
import sys

# By SMTP, as strangers send. The last one holds what every spam filter takes for spam, put together
# here, so that none stumbles over this file.
FROM_OUTSIDE = (
    ("miller@partner.example", "alice@mv.test", "Minutes of Tuesday", "Thank you all. The minutes follow.\n"),
    ("news@paper.example", "bob@mv.test", "This week", "What happened this week, in five minutes.\n"),
    ("winner@lottery.example", "carol@mv.test", "You have won",
     "XJS*C4JDBQADN1.NSBN3*2IDNEN*" + "GTUBE-STANDARD-ANTI-UBE-TEST-EMAIL*C.34X\n"),
)
# By the sendmail command, as programs of the machine send.
FROM_HERE = (
    ("bob@mv.test", "alice@mv.test", "Lunch?", "Today at noon, the usual place.\n"),
    ("carol@mv.test", "former.colleague@mv.test", "Are you still there?", "I have tried the phone, too.\n"),
    ("alice@mv.test", "miller@slow.example", "Re: Minutes of Tuesday", "One correction: it was Wednesday.\n"),
    ("alice@mv.test", "sales@slow.example", "Offer", "We would like to have 200 of them.\n"),
    ("bob@mv.test", "office@busy.example", "Appointment", "Friday would be better.\n"),
)


def message(sender: str, recipient: str, subject: str, text: str) -> email.message.EmailMessage:
    made = email.message.EmailMessage()
    made["From"], made["To"], made["Subject"] = sender, recipient, subject
    made["Date"], made["Message-ID"] = email.utils.formatdate(), email.utils.make_msgid(domain="mv.test")
    made.set_content(text)
    return made


def main() -> None:
    for sender, recipient, subject, text in FROM_HERE:
        subprocess.run(["/usr/sbin/sendmail", "-f", sender, recipient], check=True,
                       input=message(sender, recipient, subject, text).as_bytes())
    with smtplib.SMTP("127.0.0.1", int(sys.argv[1]), "client.example", 60) as client:
        for sender, recipient, subject, text in FROM_OUTSIDE:
            client.send_message(message(sender, recipient, subject, text), sender, [recipient])


main()
